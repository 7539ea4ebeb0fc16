#include "Platform/Linux/Delay/DelayLine.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velto {

namespace {

constexpr double fadeMilliseconds = 20;
constexpr std::uint32_t longestRing = DelayLine::highestRate + DelayLine::longestCycle;

/// A raised cosine from 0 to 1.
float gain(std::uint32_t frame, std::uint32_t frames) {
    return static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * frame / frames));
}

} // namespace

// What is not written to takes no memory: nothing of the rings is, before it is.
DelayLine::DelayLine(std::span<const double> delays)
    : readers_(delays.size()), ring_{std::make_unique_for_overwrite<float[]>(longestRing),
                                     std::make_unique_for_overwrite<float[]>(longestRing)} {
    for (std::size_t tap = 0; tap < delays.size(); ++tap)
        setDelay(tap, delays[tap]);
    begin(0);
}

void DelayLine::setDelay(std::size_t tap, double milliseconds) noexcept {
    const double wanted = milliseconds > 0 ? std::min(milliseconds, longestDelay) : 0; // also for no number
    readers_[tap].wanted.store(wanted, std::memory_order_relaxed);
}

void DelayLine::playSweeps(std::size_t rising, std::size_t falling, double peak) noexcept {
    wantedSweeps_.store({static_cast<std::uint16_t>(rising), static_cast<std::uint16_t>(falling),
                         static_cast<float>(peak > 0 ? std::min(peak, 1.0) : 0)},
                        std::memory_order_relaxed);
    order_.store(Order::play, std::memory_order_release);
}

std::uint32_t DelayLine::framesOf(double milliseconds) const noexcept {
    const auto frames = static_cast<std::uint32_t>(std::llround(milliseconds * rate_ / 1000));
    return std::min(frames, length_ - longestCycle);
}

/// Nothing has come yet, and nothing is heard that could be changed with a click.
void DelayLine::begin(std::uint32_t rate) noexcept {
    rate_ = rate;
    length_ = std::min(rate, highestRate) + longestCycle;
    fadeFrames_ = static_cast<std::uint32_t>(std::lround(fadeMilliseconds * rate / 1000)) + 1;
    position_ = 0;
    silentFrames_ = never;
    for (Reader& reader : readers_) {
        reader.delay = framesOf(reader.wanted.load(std::memory_order_relaxed));
        reader.crossfaded = fadeFrames_;
    }
    faded_ = 0;
    silenceLeft_ = 0;
    sweepsStart_ = never;
}

void DelayLine::obey() noexcept {
    const Order order = order_.exchange(Order::none, std::memory_order_acquire);
    if (order == Order::end) silenceLeft_ = 0;
    if (order != Order::play) return;
    sweeps_ = wantedSweeps_.load(std::memory_order_relaxed);
    probe_ = {};
    probe_.sampleRate = rate_;
    probe_.peak = static_cast<double>(sweeps_.peak);
    sweepsStart_ = position_ + static_cast<std::uint64_t>(std::llround(sweepLead * rate_ / 1000));
    silenceLeft_ = static_cast<std::uint64_t>(std::llround(longestSilence * rate_ / 1000));
}

void DelayLine::process(std::uint32_t rate, std::uint32_t frames, Sound sound,
                        std::span<const Tap> taps) noexcept {
    if (isToBeWiped_.exchange(false, std::memory_order_acquire) || rate != rate_) begin(rate);
    obey();
    for (std::uint32_t offset = 0; offset < frames; offset += longestCycle)
        processBlock(offset, std::min(frames - offset, longestCycle), sound, taps);
}

void DelayLine::skip(std::uint64_t frames) noexcept {
    if (frames >= length_) return begin(rate_);
    for (std::uint64_t left = frames; left > 0;) {
        const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(left, longestCycle));
        processBlock(0, count, {}, {});
        left -= count;
    }
}

bool DelayLine::isSounding(std::size_t tap) const noexcept {
    if (isMeasuring()) return true;
    const Reader& reader = readers_[tap];
    const bool isChanging = reader.crossfaded < fadeFrames_;
    const std::uint32_t delay = std::max(reader.delay, isChanging ? reader.delayBefore : 0);
    return silentFrames_ < std::uint64_t{delay} + longestCycle;
}

void DelayLine::processBlock(std::uint32_t offset, std::uint32_t frames, Sound sound,
                             std::span<const Tap> taps) noexcept {
    write(offset, frames, sound);
    for (std::size_t tap = 0; tap < readers_.size(); ++tap) {
        Reader& reader = readers_[tap];
        follow(reader);
        for (std::size_t channel = 0; channel < ring_.size(); ++channel)
            if (tap < taps.size() && taps[tap][channel])
                hear(tap, channel, {taps[tap][channel] + offset, frames});
        reader.crossfaded = std::min(reader.crossfaded + frames, fadeFrames_);
    }
    faded_ = isMeasuring() ? std::min(faded_ + frames, fadeFrames_) : faded_ - std::min(faded_, frames);
    silenceLeft_ -= std::min<std::uint64_t>(silenceLeft_, frames);
    position_ += frames;
}

void DelayLine::write(std::uint32_t offset, std::uint32_t frames, Sound sound) noexcept {
    bool isSilent = true;
    const auto start = static_cast<std::uint32_t>(position_ % length_);
    const std::uint32_t first = std::min(frames, length_ - start); // the rest goes to the ring's beginning
    for (std::size_t channel = 0; channel < ring_.size(); ++channel) {
        float* const ring = ring_[channel].get();
        if (!sound[channel]) {
            std::fill_n(ring + start, first, 0.0F);
            std::fill_n(ring, frames - first, 0.0F);
            continue;
        }
        const std::span samples(sound[channel] + offset, frames);
        std::ranges::copy(samples.first(first), ring + start);
        std::ranges::copy(samples.subspan(first), ring);
        isSilent = isSilent && std::ranges::all_of(samples, [](float sample) { return sample == 0; });
    }
    silentFrames_ = isSilent ? std::min(silentFrames_ + frames, never) : 0;
}

/// What the ring held that long before the present frames.
void DelayLine::read(std::size_t channel, std::uint32_t delay, std::span<float> into) const noexcept {
    // Before the wipe there was silence.
    const auto before = static_cast<std::size_t>(delay - std::min<std::uint64_t>(delay, position_));
    const std::span<float> silence = into.first(std::min(before, into.size()));
    std::ranges::fill(silence, 0.0F);
    const std::span<float> sound = into.subspan(silence.size());
    const auto start = static_cast<std::size_t>((position_ + silence.size() - delay) % length_);
    const std::size_t first = std::min<std::size_t>(sound.size(), length_ - start);
    const float* const ring = ring_[channel].get();
    std::copy_n(ring + start, first, sound.begin());
    std::copy_n(ring, sound.size() - first, sound.begin() + static_cast<std::ptrdiff_t>(first));
}

void DelayLine::follow(Reader& reader) const noexcept {
    const std::uint32_t wanted = framesOf(reader.wanted.load(std::memory_order_relaxed));
    if (reader.crossfaded < fadeFrames_ || wanted == reader.delay) return;
    reader.delayBefore = reader.delay;
    reader.delay = wanted;
    reader.crossfaded = 0;
}

void DelayLine::hear(std::size_t tap, std::size_t channel, std::span<float> into) noexcept {
    const Reader& reader = readers_[tap];
    read(channel, reader.delay, into);
    const std::size_t changing = std::min<std::size_t>(into.size(), fadeFrames_ - reader.crossfaded);
    const std::span<float> before = std::span(scratch_).first(changing);
    read(channel, reader.delayBefore, before);
    for (std::uint32_t i = 0; i < changing; ++i)
        into[i] = before[i] + gain(reader.crossfaded + i, fadeFrames_) * (into[i] - before[i]);
    fade(tap, into);
}

void DelayLine::fade(std::size_t tap, std::span<float> sound) const noexcept {
    if (faded_ == 0 && !isMeasuring()) return;
    for (std::uint32_t i = 0; i < sound.size(); ++i) {
        const std::uint32_t frame =
            isMeasuring() ? std::min(faded_ + i, fadeFrames_) : faded_ - std::min(faded_, i);
        const float silence = gain(frame, fadeFrames_);
        sound[i] = (1 - silence) * sound[i] + silence * sweep(tap, position_ + i);
    }
}

float DelayLine::sweep(std::size_t tap, std::uint64_t position) const noexcept {
    const std::uint64_t start = sweepsStart_ + readers_[tap].delay;
    if (position < start) return 0;
    float result = 0;
    if (tap == sweeps_.rising) result += probe_.sample(AlignmentProbe::Sweep::rising, position - start);
    if (tap == sweeps_.falling) result += probe_.sample(AlignmentProbe::Sweep::falling, position - start);
    return result;
}

} // namespace velto
