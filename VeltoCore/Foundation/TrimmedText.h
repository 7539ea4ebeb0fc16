// Text typed by the user, without the blanks around it.
#pragma once

#include <string_view>

namespace velto {

/// The text without white space and newlines, Unicode's included, at both ends. A view into `text`.
std::string_view trimmed(std::string_view text) noexcept;

} // namespace velto
