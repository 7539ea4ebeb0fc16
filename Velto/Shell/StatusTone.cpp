#include "Velto/Shell/StatusTone.h"

#include <variant>

namespace velto {

std::string_view statusTone(const VeltoStatus& status) {
    if (std::holds_alternative<VeltoStatus::Playing>(status.kind())) return "good";
    if (std::holds_alternative<VeltoStatus::Degraded>(status.kind())) return "warning";
    if (std::holds_alternative<VeltoStatus::Error>(status.kind())) return "bad";
    return "neutral";
}

} // namespace velto
