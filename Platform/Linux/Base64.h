// Base64 as RFC 4648 has it, with padding.
#pragma once

#include "VeltoCore/Foundation/Data.h"

#include <optional>
#include <string>
#include <string_view>

namespace velto::base64 {

std::string encoded(const Data& data);
/// None when the text is anything else.
std::optional<Data> decoded(std::string_view text);

} // namespace velto::base64
