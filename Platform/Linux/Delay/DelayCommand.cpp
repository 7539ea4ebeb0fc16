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
std::optional<Number> readAs(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<DelayCommand> readSetDelay(std::string_view line) {
    const auto output = readAs<std::size_t>(takeWord(line));
    const auto milliseconds = readNumber(takeWord(line));
    if (!output || !milliseconds || !line.empty()) return std::nullopt;
    return SetDelay{*output, *milliseconds};
}

std::optional<DelayCommand> readPlaySweeps(std::string_view line) {
    const auto rising = readAs<std::size_t>(takeWord(line));
    const auto falling = readAs<std::size_t>(takeWord(line));
    const auto peak = readNumber(takeWord(line));
    if (!rising || !falling || !peak || !line.empty()) return std::nullopt;
    return PlaySweeps{*rising, *falling, *peak};
}

struct Text {
    std::string operator()(const SetDelay& command) const {
        return "delay " + std::to_string(command.output) + " " + numberText(command.milliseconds);
    }
    std::string operator()(const PlaySweeps& command) const {
        return "sweeps " + std::to_string(command.rising) + " " + std::to_string(command.falling) + " " +
               numberText(command.peak);
    }
    std::string operator()(const EndSweeps&) const { return "sound"; }
    std::string operator()(const Ping&) const { return "ping"; }
};

} // namespace

std::string numberText(double number) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::optional<double> readNumber(std::string_view text) {
    const auto number = readAs<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::string delayCommandText(const DelayCommand& command) { return std::visit(Text(), command); }

std::optional<DelayCommand> readDelayCommand(std::string_view line) {
    if (line.size() > longestDelayCommand) return std::nullopt;
    if (line == "sound") return EndSweeps{};
    if (line == "ping") return Ping{};
    const std::string_view word = takeWord(line);
    if (word == "delay") return readSetDelay(line);
    if (word == "sweeps") return readPlaySweeps(line);
    return std::nullopt;
}

} // namespace velto
