#include "VeltoCore/Session/AudioSessionState.h"

#include <utility>

namespace velto {

AudioSessionState::AudioSessionState(Kind kind) : kind_(std::move(kind)) {}

AudioSessionState AudioSessionState::idle() { return {}; }

AudioSessionState AudioSessionState::starting() { return AudioSessionState(Starting{}); }

AudioSessionState AudioSessionState::active(DualOutputSession session) {
    return AudioSessionState(Active{std::move(session)});
}

AudioSessionState AudioSessionState::degraded(DualOutputSession session, AudioOutputDevice missing) {
    return AudioSessionState(Degraded{std::move(session), std::move(missing)});
}

AudioSessionState AudioSessionState::stopping() { return AudioSessionState(Stopping{}); }

AudioSessionState AudioSessionState::failed(AudioManagerError error) {
    return AudioSessionState(Failed{std::move(error)});
}

std::optional<DualOutputSession> AudioSessionState::session() const {
    if (const auto* active = as<Active>()) return active->session;
    if (const auto* degraded = as<Degraded>()) return degraded->session;
    return std::nullopt;
}

} // namespace velto
