// AutomationRule: what is to happen by itself, and when.
//
// Rules are made from the user's presets on demand; nobody stores them.
#pragma once

#include "VeltoCore/Foundation/UUID.h"

#include <string>
#include <variant>
#include <vector>

namespace velto {

struct AutomationRule {
    /// All these devices are available.
    struct DevicesAvailable {
        std::vector<std::string> uids;
        friend bool operator==(const DevicesAvailable&, const DevicesAvailable&) = default;
    };
    /// Start playing together with the preset of this identity.
    struct ActivatePreset {
        UUID id;
        friend bool operator==(const ActivatePreset&, const ActivatePreset&) = default;
    };
    using Trigger = std::variant<DevicesAvailable>;
    using Action = std::variant<ActivatePreset>;

    UUID id;
    /// A rule that is not enabled never fires.
    bool isEnabled = false;
    Trigger trigger;
    Action action;

    friend bool operator==(const AutomationRule&, const AutomationRule&) = default;
};

} // namespace velto
