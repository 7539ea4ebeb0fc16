#include "Platform/Linux/Base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace velto::base64 {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t groupSize = 3;   // bytes
constexpr std::size_t groupLength = 4; // letters

} // namespace

std::string encoded(const Data& data) {
    std::string text;
    text.reserve((data.size() + 2) / groupSize * groupLength);
    for (std::size_t start = 0; start < data.size(); start += groupSize) {
        std::uint32_t bits = 0;
        for (std::size_t index = start; index < start + groupSize; ++index)
            bits = bits << 8 | (index < data.size() ? data[index] : 0);
        for (std::size_t letter = 0; letter < groupLength; ++letter)
            text += start + letter > data.size() ? '=' : alphabet[bits >> (18 - 6 * letter) & 63];
    }
    return text;
}

std::optional<Data> decoded(std::string_view text) {
    if (text.size() % groupLength != 0) return std::nullopt;
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    Data data;
    data.reserve(text.size() / groupLength * groupSize);
    for (std::size_t start = 0; start < text.size(); start += groupLength) {
        const std::size_t missing = start + groupLength == text.size() ? padding : 0;
        std::uint32_t bits = 0;
        for (std::size_t index = start; index < start + groupLength; ++index) {
            const std::size_t value = index < start + groupLength - missing ? alphabet.find(text[index]) : 0;
            if (value == std::string_view::npos) return std::nullopt;
            bits = bits << 6 | static_cast<std::uint32_t>(value);
        }
        for (std::size_t byte = 0; byte < groupSize - missing; ++byte)
            data.push_back(static_cast<std::uint8_t>(bits >> (16 - 8 * byte)));
    }
    return data;
}

} // namespace velto::base64
