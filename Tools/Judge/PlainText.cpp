#include "Tools/Judge/PlainText.h"

#include <algorithm>
#include <sstream>

namespace velto::judge {

namespace {

/// Whether the byte goes on with a character that an earlier one began.
bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

bool isControl(char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; }

} // namespace

std::string cleaned(std::string_view text) {
    std::string result(text);
    std::ranges::replace_if(result, isControl, ' ');
    return result;
}

std::size_t widthOf(std::string_view text) {
    return text.size() - static_cast<std::size_t>(std::ranges::count_if(text, isContinuation));
}

std::string shortened(std::string_view text, std::size_t width) {
    if (widthOf(text) <= width) return std::string(text);
    std::size_t end = 0;
    for (std::size_t shown = 0; end < text.size(); ++end) {
        if (!isContinuation(text[end]) && ++shown == width) break;
    }
    while (end > 0 && text[end - 1] == ' ')
        --end;
    return std::string(text.substr(0, end)) + "…";
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
    std::vector<std::string> lines(1);
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        std::string& line = lines.back();
        if (line.empty()) {
            line = word;
        } else if (widthOf(line) + 1 + widthOf(word) <= width) {
            line += " " + word;
        } else {
            lines.push_back(word);
        }
    }
    return lines;
}

} // namespace velto::judge
