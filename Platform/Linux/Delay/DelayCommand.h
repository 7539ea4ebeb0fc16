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

/// Fades what players send out at all outputs, or in again.
struct FadeSound {
    bool isOut = false;
    bool operator==(const FadeSound&) const = default;
};

using DelayCommand = std::variant<SetDelay, FadeSound>;

/// A longer line is none of ours.
inline constexpr std::size_t longestDelayCommand = 200;

/// A delay as text, in the same form wherever the user lives.
std::string millisecondsText(double milliseconds);
/// None for anything but a finite number.
std::optional<double> readMilliseconds(std::string_view text);

std::string delayCommandText(const DelayCommand& command);
/// None for anything but such a line.
std::optional<DelayCommand> readDelayCommand(std::string_view line);

} // namespace velto
