// Watchdog: a timer of the kernel that the program that delays and its owner both hold. The program's audio
// thread puts it off again and again while sound runs; when that stops, it runs out, which wakes the owner.
//
// So a program that hangs is noticed, and one that is well costs its owner nothing: no line is sent, nobody
// looks. What it says when it runs out is only that no cycle has run for a while, as at every end of a sound
// or where the server itself is held up: the owner asks then (DelayCommand, Ping).
#pragma once

#include <chrono>

namespace velto {

class Watchdog {
  public:
    /// By which the program finds it when it starts.
    static constexpr int inheritedDescriptor = 3;
    /// How often it is put off while sound runs, where the cycles are no longer than that.
    static constexpr std::chrono::milliseconds interval{100};
    /// After which it runs out, beside the length of a cycle.
    static constexpr std::chrono::milliseconds timeout{300};

    /// Throws std::runtime_error, with a sentence without its end, when there is none to be had.
    static Watchdog create();
    /// One that does nothing where none was inherited. To be asked before anything else is opened.
    static Watchdog inherited() noexcept;

    Watchdog(Watchdog&& other) noexcept;
    Watchdog& operator=(Watchdog&&) = delete;
    ~Watchdog();

    /// Readable once it has run out.
    int descriptor() const noexcept { return descriptor_; }
    /// Runs out that much later; from any thread, never waits.
    void putOff(std::chrono::nanoseconds time = timeout) const noexcept;
    /// Whether it had run out; it doesn't again until it is put off.
    bool takeExpiry() const noexcept;

  private:
    explicit Watchdog(int descriptor) noexcept : descriptor_(descriptor) {}

    int descriptor_;
};

} // namespace velto
