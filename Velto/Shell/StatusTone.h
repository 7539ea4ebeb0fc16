// StatusTone: how a status is to be taken, for its colour. Pure.
#pragma once

#include "VeltoCore/Session/VeltoStatus.h"

#include <string_view>

namespace velto {

/// "good", "warning", "bad" or "neutral".
std::string_view statusTone(const VeltoStatus& status);

} // namespace velto
