#include "Velto/Shell/StatusTone.h"

#include <variant>

namespace velto {

std::string_view statusTone(const VeltoStatus& status) {
    if (status.is<VeltoStatus::Playing>()) return "good";
    if (status.is<VeltoStatus::Degraded>()) return "warning";
    if (status.is<VeltoStatus::Error>()) return "bad";
    return "neutral";
}

} // namespace velto
