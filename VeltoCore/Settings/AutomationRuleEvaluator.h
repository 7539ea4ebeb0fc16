// AutomationRuleEvaluator: which rules fire on a change of the available devices.
//
// Pure. Which of several actions is taken is the caller's business.
#pragma once

#include "VeltoCore/Settings/AutomationRule.h"

#include <set>
#include <string>
#include <vector>

namespace velto {

struct AutomationRuleEvaluator {
    AutomationRuleEvaluator() = delete;

    /// The actions of the enabled rules whose devices are all available now and were not before the change,
    /// in the rules' order. A rule without devices never fires.
    static std::vector<AutomationRule::Action> actions(const std::vector<AutomationRule>& forRules,
                                                       const std::set<std::string>& availableUIDs,
                                                       const std::set<std::string>& previousUIDs);
};

} // namespace velto
