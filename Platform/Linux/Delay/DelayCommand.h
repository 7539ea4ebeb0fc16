// DelayCommand: what the program that delays is told while it runs, a line each.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace velto {

/// Sets the delay of an output, which is told by its place among those that the program was started with.
struct SetDelay {
    std::size_t output = 0;
    double milliseconds = 0;
    bool operator==(const SetDelay&) const = default;
};

/// Silences what players send, and plays the sweeps by which two outputs are measured
/// (DelayLine::playSweeps).
struct PlaySweeps {
    std::size_t rising = 0;
    std::size_t falling = 0;
    /// Of full scale.
    double peak = 0;
    bool operator==(const PlaySweeps&) const = default;
};

/// What players send is heard again.
struct EndSweeps {
    bool operator==(const EndSweeps&) const = default;
};

/// Is answered with DelayNames::well.
struct Ping {
    bool operator==(const Ping&) const = default;
};

using DelayCommand = std::variant<SetDelay, PlaySweeps, EndSweeps, Ping>;

/// A longer line is none of ours.
inline constexpr std::size_t longestDelayCommand = 200;

/// A delay as text, in the same form wherever the user lives.
std::string numberText(double number);
/// None for anything but a finite number.
std::optional<double> readNumber(std::string_view text);

std::string delayCommandText(const DelayCommand& command);
/// None for anything but such a line.
std::optional<DelayCommand> readDelayCommand(std::string_view line);

} // namespace velto
