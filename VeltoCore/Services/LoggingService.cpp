#include "VeltoCore/Services/LoggingService.h"

#include <fmt/format.h>

#include <atomic>

namespace velto {

namespace {

std::atomic<LogSink*> installedSink = nullptr;

constexpr char32_t replacement = U'\uFFFD';

struct Decoded {
    char32_t character;
    std::size_t length;
};

/// One character of UTF-8; a broken sequence is one replacement character per byte.
Decoded decode(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    const std::size_t length = lead >= 0xF0 && lead < 0xF5 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
    if (lead >= 0xF5 || length == 0 || text.size() < length) return {replacement, 1};
    char32_t character = lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {replacement, 1};
        character = (character << 6) | (byte(i) & 0x3F);
    }
    const char32_t smallest = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < smallest || character > 0x10FFFF || isSurrogate) return {replacement, 1};
    return {character, length};
}

/// Characters that could break a line, drive a terminal, or make text read in another order than written.
bool isUnfitForLog(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x061C || c == 0x200E || c == 0x200F ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

} // namespace

std::string_view name(LogLevel level) noexcept {
    switch (level) {
    case LogLevel::debug:
        return "debug";
    case LogLevel::info:
        return "info";
    case LogLevel::notice:
        return "notice";
    case LogLevel::error:
        return "error";
    case LogLevel::fault:
        return "fault";
    }
    return "notice";
}

std::string cleanedForLog(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const auto [character, length] = decode(text);
        if (character == replacement || isUnfitForLog(character)) {
            result += "\uFFFD";
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return result;
}

LogArgument::LogArgument(double value) : text_(fmt::format("{:.6f}", value)), isPublic_(true) {}

LogArgument::LogArgument(std::string_view text, bool isPublic)
    : text_(cleanedForLog(text)), isPublic_(isPublic) {}

LogArgument publicText(std::string_view text) { return LogArgument(text, true); }

namespace {

/// Calls it with each piece of the message in order, and whether it is public.
template <class Action>
void forEachPiece(const LogMessage& message, const Action& action) {
    std::string_view rest = message.format;
    for (const LogArgument& argument : message.arguments) {
        const std::size_t place = rest.find("{}");
        if (place == std::string_view::npos) break;
        action(rest.substr(0, place), true);
        action(argument.text(), argument.isPublic());
        rest.remove_prefix(place + 2);
    }
    action(rest, true);
}

} // namespace

std::string LogMessage::text() const {
    std::string result;
    forEachPiece(*this, [&](std::string_view piece, bool) { result += piece; });
    return result;
}

std::vector<std::string> LogMessage::runs(std::size_t most) const {
    std::vector<std::string> result(1);
    forEachPiece(*this, [&](std::string_view piece, bool isPublic) {
        const bool isRunPublic = result.size() % 2 == 1;
        if (isPublic != isRunPublic && !piece.empty() && result.size() < most) result.emplace_back();
        result.back() += piece;
    });
    return result;
}

LogSink* Logger::enabledSink(LogLevel level) noexcept {
    LogSink* sink = installedSink.load(std::memory_order_acquire);
    return sink && sink->isEnabled(level) ? sink : nullptr;
}

LogSink* LoggingService::install(LogSink* sink) noexcept {
    return installedSink.exchange(sink, std::memory_order_acq_rel);
}

} // namespace velto
