#include "VeltoCore/Foundation/JSONWriting.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace velto::json {

void Writer::boolean(bool value) {
    separate();
    text_ += value ? "true" : "false";
}

void Writer::integer(std::uint32_t value) {
    separate();
    text_ += std::to_string(value);
}

void Writer::number(float value) { writeNumber(value); }
void Writer::number(double value) { writeNumber(value); }

template <class Number>
void Writer::writeNumber(Number value) {
    separate();
    isComplete_ = isComplete_ && std::isfinite(value);
    text_ += fmt::format("{}", value);
}

void Writer::text(std::string_view value) {
    separate();
    constexpr int noIndentation = -1;
    constexpr bool asciiOnly = false;
    text_ +=
        nlohmann::json(value).dump(noIndentation, ' ', asciiOnly, nlohmann::json::error_handler_t::replace);
}

/// Puts a comma between this and what came before in the same object or array.
void Writer::separate() {
    const char last = text_.empty() ? '[' : text_.back(); // never a character of a string: those end in '"'
    if (last != '[' && last != '{' && last != ':') text_ += ',';
}

void Writer::open(char bracket) {
    separate();
    text_ += bracket;
}

void Writer::close(char bracket) { text_ += bracket; }

std::optional<Data> Writer::finish() const {
    return isComplete_ ? std::optional(Data(text_.begin(), text_.end())) : std::nullopt;
}

} // namespace velto::json
