#include "Platform/Linux/Delay/DelayCommand.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace velto {

namespace {

/// Takes a word off the front; empty when none is left.
std::string_view takeWord(std::string_view& line) {
    const std::size_t end = std::min(line.find(' '), line.size());
    const std::string_view word = line.substr(0, end);
    line.remove_prefix(std::min(end + 1, line.size()));
    return word;
}

template <class Number>
std::optional<Number> readNumber(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<DelayCommand> readSetDelay(std::string_view line) {
    const auto output = readNumber<std::size_t>(takeWord(line));
    const auto milliseconds = readMilliseconds(takeWord(line));
    if (!output || !milliseconds || !line.empty()) return std::nullopt;
    return SetDelay{*output, *milliseconds};
}

struct Text {
    std::string operator()(const SetDelay& command) const {
        return "delay " + std::to_string(command.output) + " " + millisecondsText(command.milliseconds);
    }
    std::string operator()(const FadeSound& command) const { return command.isOut ? "fade out" : "fade in"; }
};

} // namespace

std::string millisecondsText(double milliseconds) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), milliseconds).ptr};
}

std::optional<double> readMilliseconds(std::string_view text) {
    const auto milliseconds = readNumber<double>(text);
    return milliseconds && std::isfinite(*milliseconds) ? milliseconds : std::nullopt;
}

std::string delayCommandText(const DelayCommand& command) { return std::visit(Text(), command); }

std::optional<DelayCommand> readDelayCommand(std::string_view line) {
    if (line.size() > longestDelayCommand) return std::nullopt;
    if (line == "fade out") return FadeSound{true};
    if (line == "fade in") return FadeSound{false};
    if (takeWord(line) == "delay") return readSetDelay(line);
    return std::nullopt;
}

} // namespace velto
