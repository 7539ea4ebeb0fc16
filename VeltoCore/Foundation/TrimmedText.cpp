#include "VeltoCore/Foundation/TrimmedText.h"

#include <algorithm>
#include <array>

namespace velto {

namespace {

/// In UTF-8. No character's encoding ends with another's, so the text can be read from either end.
constexpr std::array<std::string_view, 25> blanks{
    "\t",           "\n",           "\v",           "\f",           "\r",           " ",
    "\xC2\x85",     "\xC2\xA0",     "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82",
    "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85", "\xE2\x80\x86", "\xE2\x80\x87", "\xE2\x80\x88",
    "\xE2\x80\x89", "\xE2\x80\x8A", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAF", "\xE2\x81\x9F",
    "\xE3\x80\x80"};

} // namespace

std::string_view trimmed(std::string_view text) noexcept {
    const auto startsText = [&](std::string_view blank) { return text.starts_with(blank); };
    const auto endsText = [&](std::string_view blank) { return text.ends_with(blank); };
    for (auto blank = std::ranges::find_if(blanks, startsText); blank != blanks.end();
         blank = std::ranges::find_if(blanks, startsText))
        text.remove_prefix(blank->size());
    for (auto blank = std::ranges::find_if(blanks, endsText); blank != blanks.end();
         blank = std::ranges::find_if(blanks, endsText))
        text.remove_suffix(blank->size());
    return text;
}

} // namespace velto
