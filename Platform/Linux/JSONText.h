// JSONText: JSON as text that is looked through, never read into values: each number and each string stays
// as it was written, to the letter.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

struct JSONText {
    JSONText() = delete;

    /// Whether the text is one JSON value and nothing else, nested no deeper than that. It costs no memory
    /// worth mentioning, however hostile the text.
    static bool isValid(std::string_view text, int deepestNesting);

    // Of valid text:

    /// Without white space.
    static std::string compact(std::string_view text);
    /// One line an element, for people to read; the first line is at the level, and not indented.
    static std::string indented(std::string_view compactText, int level);
    /// The keys of an object and their values, in order.
    static std::vector<std::pair<std::string, std::string_view>> fields(std::string_view compactObject);
};

} // namespace velto
