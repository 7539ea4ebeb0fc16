// Data: bytes, as stored and read back.
#pragma once

#include <cstdint>
#include <vector>

namespace velto {

using Data = std::vector<std::uint8_t>;

} // namespace velto
