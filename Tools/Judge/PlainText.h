// PlainText: foreign text made fit for a terminal or a picture.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velto::judge {

/// Without control characters, which would steer a terminal.
std::string cleaned(std::string_view text);
/// How many characters the UTF-8 text shows.
std::size_t widthOf(std::string_view text);
/// At most that many characters, the last one an ellipsis where something was cut off.
std::string shortened(std::string_view text, std::size_t width);
/// Lines of at most that many characters, broken between words; a longer word keeps a line to itself.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

} // namespace velto::judge
