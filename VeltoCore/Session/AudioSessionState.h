// AudioSessionState: whether the two outputs play together. The one truth about the session.
//
// Owned and changed by SystemAudioManager alone; everybody else reads it.
#pragma once

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Session/DualOutputSession.h"

#include <concepts>
#include <optional>
#include <utility>
#include <variant>

namespace velto {

class AudioSessionState {
  public:
    /// No session, nothing under way.
    struct Idle {
        bool operator==(const Idle&) const = default;
    };
    struct Starting {
        bool operator==(const Starting&) const = default;
    };
    /// Both outputs play.
    struct Active {
        DualOutputSession session;
        bool operator==(const Active&) const = default;
    };
    /// The session goes on without one of its two outputs.
    struct Degraded {
        DualOutputSession session;
        AudioOutputDevice missing;
        bool operator==(const Degraded&) const = default;
    };
    struct Stopping {
        bool operator==(const Stopping&) const = default;
    };
    /// The last start or stop failed.
    struct Failed {
        AudioManagerError error;
        bool operator==(const Failed&) const = default;
    };
    using Kind = std::variant<Idle, Starting, Active, Degraded, Stopping, Failed>;

    AudioSessionState() = default;
    /// From any of the cases, such as `AudioSessionState::Idle{}`.
    template <std::convertible_to<Kind> Case>
    AudioSessionState(Case value) : kind_(std::move(value)) {}

    const Kind& kind() const noexcept { return kind_; }
    /// The payload when the state is of that kind, such as `state.as<AudioSessionState::Failed>()`; else
    /// null.
    template <class Case>
    const Case* as() const noexcept {
        return std::get_if<Case>(&kind_);
    }
    template <class Case>
    bool is() const noexcept {
        return std::holds_alternative<Case>(kind_);
    }

    /// Exactly for active and degraded.
    bool isActive() const noexcept { return is<Active>() || is<Degraded>(); }
    /// Exactly for starting and stopping.
    bool isBusy() const noexcept { return is<Starting>() || is<Stopping>(); }
    /// The session of an active or degraded state. A copy: it outlives the next change of state.
    std::optional<DualOutputSession> session() const;

    friend bool operator==(const AudioSessionState&, const AudioSessionState&) = default;

  private:
    Kind kind_;
};

} // namespace velto
