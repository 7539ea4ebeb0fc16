#include "Platform/Linux/PipeWire/PipeWireText.h"

#include <algorithm>
#include <cstddef>

namespace velto::PipeWireText {

namespace {

unsigned char byteAt(std::string_view text, std::size_t place) {
    return place < text.size() ? static_cast<unsigned char>(text[place]) : 0;
}

/// A character from U+F780 to U+F7FF.
bool standsForByte(std::string_view text) {
    const unsigned char second = byteAt(text, 1);
    return byteAt(text, 0) == 0xEF && (second == 0x9E || second == 0x9F) && byteAt(text, 2) >> 6 == 2;
}

/// Which values the second byte of a character may have, after its first.
bool isSecond(unsigned char first, unsigned char second) {
    if (second >> 6 != 2) return false;
    if (first == 0xE0) return second >= 0xA0; // it would fit in fewer bytes
    if (first == 0xED) return second < 0xA0;  // half of a pair of UTF-16
    if (first == 0xF0) return second >= 0x90;
    return first != 0xF4 || second < 0x90; // beyond the last character
}

/// How many bytes the character takes with which the text begins; 0 where that is no UTF-8.
std::size_t characterSize(std::string_view text) {
    const unsigned char first = byteAt(text, 0);
    if (first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4) return 0;
    const std::size_t size = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (!isSecond(first, byteAt(text, 1))) return 0;
    for (std::size_t place = 2; place < size; ++place)
        if (byteAt(text, place) >> 6 != 2) return 0;
    return size;
}

} // namespace

std::string fromServer(std::string_view text) {
    if (std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return std::string(text); // nearly all of them
    std::string result;
    while (!text.empty()) {
        std::size_t size = standsForByte(text) ? 0 : characterSize(text);
        if (size == 0) {
            const unsigned char byte = byteAt(text, 0);
            result += {'\xEF', static_cast<char>(0x9C | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
            size = 1;
        } else {
            result += text.substr(0, size);
        }
        text.remove_prefix(size);
    }
    return result;
}

std::string toServer(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const bool isByte = standsForByte(text);
        result +=
            isByte ? static_cast<char>((byteAt(text, 1) & 3) << 6 | (byteAt(text, 2) & 0x3F)) : text.front();
        text.remove_prefix(isByte ? 3 : 1);
    }
    return result;
}

} // namespace velto::PipeWireText
