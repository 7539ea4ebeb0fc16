#include "VeltoCore/Settings/AutoConnect.h"

#include "VeltoCore/Settings/AutomationRuleEvaluator.h"

#include <utility>
#include <variant>

namespace velto {

void AutoConnect::devicesChanged() {
    auto before = std::exchange(known_, deviceManager_.knownUIDs());
    previous_ = before ? std::move(*before) : deviceManager_.connectedUIDs();
}

std::optional<AudioPreset> AutoConnect::due() const {
    const auto actions = AutomationRuleEvaluator::actions(preferences_.automationRules(),
                                                          deviceManager_.connectedUIDs(), previous_);
    if (actions.empty()) return std::nullopt;
    return preferences_.preset(std::get<AutomationRule::ActivatePreset>(actions.front()).id);
}

} // namespace velto
