#include "VeltoCore/Settings/AutomationRuleEvaluator.h"

#include <algorithm>
#include <variant>

namespace velto {

namespace {

bool areAllIn(const std::set<std::string>& uids, const std::vector<std::string>& required) {
    return std::ranges::all_of(required, [&](const std::string& uid) { return uids.contains(uid); });
}

} // namespace

std::vector<AutomationRule::Action>
AutomationRuleEvaluator::actions(const std::vector<AutomationRule>& forRules,
                                 const std::set<std::string>& availableUIDs,
                                 const std::set<std::string>& previousUIDs) {
    std::vector<AutomationRule::Action> result;
    for (const AutomationRule& rule : forRules) {
        if (!rule.isEnabled) continue;
        const auto& required = std::get<AutomationRule::DevicesAvailable>(rule.trigger).uids;
        if (areAllIn(availableUIDs, required) && !areAllIn(previousUIDs, required))
            result.push_back(rule.action);
    }
    return result;
}

} // namespace velto
