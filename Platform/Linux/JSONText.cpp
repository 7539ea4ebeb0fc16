#include "Platform/Linux/JSONText.h"

#include <nlohmann/json.hpp>

#include <cstddef>

namespace velto {

namespace {

/// Follows a text character by character, and knows where it is in it.
class Scanner {
  public:
    /// Whether the character belongs to a string, its quotes included.
    bool isInString(char character) {
        const bool wasInString = isInString_;
        if (isEscaped_) {
            isEscaped_ = false;
        } else if (character == '"') {
            isInString_ = !isInString_;
        } else {
            isEscaped_ = isInString_ && character == '\\';
        }
        return wasInString || isInString_;
    }

  private:
    bool isInString_ = false;
    bool isEscaped_ = false;
};

constexpr bool opens(char character) { return character == '{' || character == '['; }
constexpr bool isSpace(char character) {
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}
constexpr bool closes(char character) { return character == '}' || character == ']'; }

bool isNestedDeeper(std::string_view text, int deepestNesting) {
    Scanner scanner;
    int depth = 0;
    for (const char character : text) {
        if (scanner.isInString(character)) continue;
        if (opens(character) && ++depth > deepestNesting) return true;
        if (closes(character)) --depth;
    }
    return false;
}

void breakLine(std::string& text, int level) {
    text += '\n';
    text.append(2 * static_cast<std::size_t>(level), ' ');
}

} // namespace

bool JSONText::isValid(std::string_view text, int deepestNesting) {
    // The reader takes a zero for the end of the text, and passes over a byte order mark.
    if (text.find('\0') != std::string_view::npos || text.starts_with("\xEF\xBB\xBF")) return false;
    return !isNestedDeeper(text, deepestNesting) && nlohmann::json::accept(text.begin(), text.end());
}

std::string JSONText::compact(std::string_view text) {
    Scanner scanner;
    std::string result;
    result.reserve(text.size());
    for (const char character : text)
        if (scanner.isInString(character) || !isSpace(character)) result += character;
    return result;
}

std::string JSONText::indented(std::string_view compactText, int level) {
    Scanner scanner;
    std::string result;
    char last = ' ';
    for (const char character : compactText) {
        if (scanner.isInString(character)) {
            if (opens(last)) breakLine(result, level);
            result += character;
            last = 'x'; // whatever is in a string
            continue;
        }
        if (closes(character)) {
            --level;
            if (!opens(last)) breakLine(result, level);
        } else if (opens(last)) {
            breakLine(result, level);
        }
        result += character;
        if (opens(character)) ++level;
        if (character == ',') breakLine(result, level);
        if (character == ':') result += ' ';
        last = character;
    }
    return result;
}

std::vector<std::pair<std::string, std::string_view>> JSONText::fields(std::string_view compactObject) {
    std::vector<std::pair<std::string, std::string_view>> result;
    Scanner scanner;
    int depth = 0;
    std::size_t keyStart = 1;
    std::size_t valueStart = 0;
    for (std::size_t i = 0; i < compactObject.size(); ++i) {
        const char character = compactObject[i];
        if (scanner.isInString(character)) continue;
        if (opens(character)) ++depth;
        if (closes(character)) --depth;
        if (depth == 1 && character == ':') {
            const auto key = compactObject.substr(keyStart, i - keyStart);
            result.emplace_back(nlohmann::json::parse(key.begin(), key.end()).get<std::string>(), "");
            valueStart = i + 1;
        }
        const bool endsValue = (depth == 1 && character == ',') || (depth == 0 && closes(character));
        if (!endsValue || result.empty()) continue;
        result.back().second = compactObject.substr(valueStart, i - valueStart);
        keyStart = i + 1;
    }
    return result;
}

} // namespace velto
