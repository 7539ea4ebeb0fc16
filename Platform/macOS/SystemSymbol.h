// SystemSymbol: the system's own drawings of its symbols.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace velto {

/// How much each pixel is covered by the symbol of that name, from 0 to 255, row by row from the top, the
/// symbol in the middle with a little space around. Empty when there is none of that name, or no pixel. Main
/// thread only.
std::vector<std::uint8_t> systemSymbolCoverage(std::string_view name, int width, int height);

} // namespace velto
