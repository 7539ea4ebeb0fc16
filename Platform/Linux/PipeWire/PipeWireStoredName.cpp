#include "Platform/Linux/PipeWire/PipeWireStoredName.h"

#include <spa/utils/json.h>

#include <array>
#include <vector>

namespace velto {

namespace {

/// The member "name" of a JSON object; none when there is none, or the text is no JSON.
std::optional<std::string> memberName(const std::string& object) {
    // The server's own reader, because people write these by hand in its relaxed form.
    std::array<spa_json, 2> reader{};
    spa_json_init(&reader[0], object.data(), object.size());
    if (spa_json_enter_object(&reader[0], &reader[1]) <= 0) return std::nullopt;
    std::vector<char> text(object.size() + 1); // no member is longer than the whole
    const auto nextText = [&] {
        return spa_json_get_string(&reader[1], text.data(), static_cast<int>(text.size())) > 0;
    };
    while (nextText()) {
        const bool isName = std::string_view(text.data()) == "name";
        if (isName && nextText()) return text.data();
        const char* skipped = nullptr;
        if (isName || spa_json_next(&reader[1], &skipped) <= 0) break;
    }
    return std::nullopt;
}

// A device's name need not be valid UTF-8, but that is all the reader takes, and no delete character either:
// such bytes go past it as characters of a private area, U+F700 to U+F7FF.

constexpr std::string_view hexadecimal = "0123456789abcdef";

std::string escapedBytes(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x7F)
            result += c;
        else
            result += {'\\', 'u', 'f', '7', hexadecimal[byte >> 4], hexadecimal[byte & 15]};
    }
    return result;
}

std::optional<std::string> unescapedBytes(const std::optional<std::string>& text) {
    if (!text) return std::nullopt;
    std::string result;
    for (std::size_t i = 0; i < text->size(); ++i) {
        const auto byte = [&](std::size_t n) { return static_cast<unsigned char>((*text)[n]); };
        if (i + 2 < text->size() && byte(i) == 0xef && byte(i + 1) >> 2 == 0x9c >> 2) {
            result += static_cast<char>((byte(i + 1) & 3) << 6 | (byte(i + 2) & 0x3f));
            i += 2;
        } else {
            result += (*text)[i];
        }
    }
    return result;
}

} // namespace

std::optional<std::string> PipeWireStoredName::read(const std::string& text) {
    auto name = memberName(text);
    if (!name) name = unescapedBytes(memberName(escapedBytes(text)));
    return name;
}

std::string PipeWireStoredName::text(std::string_view name) {
    // The server's own writer: it leaves bytes as they are.
    const std::string terminated(name);
    std::vector<char> quoted(terminated.size() * 6 + 3);
    spa_json_encode_string(quoted.data(), static_cast<int>(quoted.size()), terminated.c_str());
    std::string result = "{ \"name\": ";
    for (const char c : std::string_view(quoted.data()))
        c == '\x7F' ? result += "\\u007f" : result += c; // its own reader doesn't take that as it is
    return result + " }";
}

} // namespace velto
