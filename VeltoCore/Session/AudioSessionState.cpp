#include "VeltoCore/Session/AudioSessionState.h"

namespace velto {

std::optional<DualOutputSession> AudioSessionState::session() const {
    if (const auto* active = as<Active>()) return active->session;
    if (const auto* degraded = as<Degraded>()) return degraded->session;
    return std::nullopt;
}

} // namespace velto
