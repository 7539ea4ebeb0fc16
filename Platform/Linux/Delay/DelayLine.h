// DelayLine: one stereo sound, heard at several taps, at each as much later as its own delay says.
//
// The sound goes into one ring that all taps read. A tap's delay is right to the sample; a change of it is a
// short crossfade, and one that comes meanwhile waits for its end. What the ring held before a wipe is never
// heard. To be measured, two taps play sweeps in place of the sound, as late as they are delayed. Memory for
// the highest rate is set aside at once, but only what the actual rate needs is ever touched. The audio
// thread never allocates, locks or waits in here.
#pragma once

#include "VeltoCore/Sync/AlignmentProbe.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace velto {

class DelayLine {
  public:
    static constexpr double longestDelay = 1000; // milliseconds
    static constexpr std::uint32_t highestRate = 192'000;
    /// Frames of the longest cycle of the graph; also what may still be on its way through the graph when a
    /// tap has played its last.
    static constexpr std::uint32_t longestCycle = 8192;
    /// From the silence to the sweeps: so that slow outputs have played what they were sent, and run.
    static constexpr double sweepLead = 300; // milliseconds
    /// After it the sound comes back by itself, should nobody care any more.
    static constexpr double longestSilence = 5000; // milliseconds

    /// Left and right; null for silence.
    using Sound = std::array<const float*, 2>;
    /// Where what a tap plays goes; null where nobody hears it.
    using Tap = std::array<float*, 2>;

    /// The delays that the taps begin with, in milliseconds.
    explicit DelayLine(std::span<const double> delays);
    DelayLine(const DelayLine&) = delete;
    DelayLine& operator=(const DelayLine&) = delete;

    // From any thread

    std::size_t tapCount() const noexcept { return readers_.size(); }
    /// Clamped to what there is.
    void setDelay(std::size_t tap, double milliseconds) noexcept;
    /// Fades the sound out at all taps, and a moment later has two of them play the sweeps of an
    /// AlignmentProbe.
    void playSweeps(std::size_t rising, std::size_t falling, double peak) noexcept;
    /// Fades the sound in again, and what is left of the sweeps out.
    void endSweeps() noexcept { order_.store(Order::end, std::memory_order_release); }
    /// Forgets, before the next frame, what the ring holds.
    void wipe() noexcept { isToBeWiped_.store(true, std::memory_order_release); }

    // On the audio thread

    /// Takes the sound and fills the taps. Another rate than before wipes the ring.
    void process(std::uint32_t rate, std::uint32_t frames, Sound sound, std::span<const Tap> taps) noexcept;
    /// Goes on as if as many frames of silence had come.
    void skip(std::uint64_t frames) noexcept;
    /// Whether sound that has come may still be on its way to the tap, or through it.
    bool isSounding(std::size_t tap) const noexcept;
    /// From the order to play sweeps on until the sound is to be heard again.
    bool isMeasuring() const noexcept { return silenceLeft_ > 0; }

  private:
    static constexpr std::uint64_t never = std::uint64_t{1} << 48; // frames
    enum class Order : std::uint8_t { none, play, end };
    struct Sweeps {
        std::uint16_t rising = 0; // taps
        std::uint16_t falling = 0;
        float peak = 0;
    };
    /// How one tap reads the ring.
    struct Reader {
        std::atomic<double> wanted = 0; // milliseconds, from any thread
        std::uint32_t delay = 0;        // in frames, as all below
        std::uint32_t delayBefore = 0;
        std::uint32_t crossfaded = 0; // of the change from the one to the other
    };

    void begin(std::uint32_t rate) noexcept;
    void obey() noexcept;
    /// At most longestCycle frames, as wherever below frames are passed.
    void processBlock(std::uint32_t offset, std::uint32_t frames, Sound sound,
                      std::span<const Tap> taps) noexcept;
    void write(std::uint32_t offset, std::uint32_t frames, Sound sound) noexcept;
    void read(std::size_t channel, std::uint32_t delay, std::span<float> into) const noexcept;
    void follow(Reader& reader) const noexcept;
    void hear(std::size_t tap, std::size_t channel, std::span<float> into) noexcept;
    void fade(std::size_t tap, std::span<float> sound) const noexcept;
    float sweep(std::size_t tap, std::uint64_t position) const noexcept;
    std::uint32_t framesOf(double milliseconds) const noexcept;

    std::vector<Reader> readers_;
    std::atomic<Sweeps> wantedSweeps_;
    std::atomic<Order> order_ = Order::none;
    std::atomic<bool> isToBeWiped_ = false;
    // Of the audio thread. The position counts the frames since the ring was wiped.
    std::uint32_t rate_ = 0;
    std::uint32_t length_ = 0;     // of the ring, at this rate
    std::uint32_t fadeFrames_ = 0; // of a crossfade, and of a fade
    std::array<std::unique_ptr<float[]>, 2> ring_;
    std::array<float, longestCycle> scratch_{};
    std::uint64_t position_ = 0;
    std::uint64_t silentFrames_ = 0; // since the last sound
    std::uint32_t faded_ = 0;        // fadeFrames_: faded out
    std::uint64_t silenceLeft_ = 0;  // until it is faded in again
    Sweeps sweeps_;
    AlignmentProbe probe_;
    std::uint64_t sweepsStart_ = never; // where they begin at a tap without delay
};

} // namespace velto
