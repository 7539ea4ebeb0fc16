// VeltoStatus: what the menu bar shows about the session.
//
// A presentation value that the coordinator derives from the session's state and its own flags.
#pragma once

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/Session/PreparationStep.h"

#include <concepts>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace velto {

class VeltoStatus {
  public:
    struct Idle {
        bool operator==(const Idle&) const = default;
    };
    /// Also shown while stopping.
    struct Connecting {
        bool operator==(const Connecting&) const = default;
    };
    struct Preparing {
        PreparationStep step;
        bool operator==(const Preparing&) const = default;
    };
    struct Playing {
        bool operator==(const Playing&) const = default;
    };
    struct Reconnecting {
        bool operator==(const Reconnecting&) const = default;
    };
    /// One output is missing, or has just come back.
    struct Degraded {
        std::string missingDeviceName;
        bool isBack = false;
        bool operator==(const Degraded&) const = default;
    };
    struct Error {
        AudioManagerError error;
        bool operator==(const Error&) const = default;
    };
    using Kind = std::variant<Idle, Connecting, Preparing, Playing, Reconnecting, Degraded, Error>;

    VeltoStatus() = default;
    /// From any of the cases, such as `VeltoStatus::Playing{}`.
    template <std::convertible_to<Kind> Case>
    VeltoStatus(Case value) : kind_(std::move(value)) {}

    const Kind& kind() const noexcept { return kind_; }
    template <class Case>
    bool is() const noexcept {
        return std::holds_alternative<Case>(kind_);
    }

    std::string title() const;
    /// The name of a system symbol.
    std::string_view symbolName() const noexcept;
    /// True while a session runs, also one that is degraded or being rebuilt.
    bool isPlaying() const noexcept;
    bool isBusy() const noexcept;

    friend bool operator==(const VeltoStatus&, const VeltoStatus&) = default;

  private:
    Kind kind_;
};

} // namespace velto
