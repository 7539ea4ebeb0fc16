// The manual page of the program, in the language of man(7).
#pragma once

#include <string>
#include <string_view>

namespace velto {

std::string manualPage(std::string_view version);

} // namespace velto
