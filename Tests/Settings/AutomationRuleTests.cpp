#include "VeltoCore/Settings/AutomationRule.h"
#include "VeltoCore/Settings/AutomationRuleEvaluator.h"

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <vector>

namespace velto {
namespace {

using UIDs = std::set<std::string>;

AutomationRule rule(std::vector<std::string> uids) {
    const UUID id = UUID::random();
    return {.id = id,
            .isEnabled = true,
            .trigger = AutomationRule::DevicesAvailable{std::move(uids)},
            .action = AutomationRule::ActivatePreset{id}};
}

bool fires(const AutomationRule& rule, const UIDs& previous, const UIDs& now) {
    return !AutomationRuleEvaluator::actions({rule}, now, previous).empty();
}

TEST(AutomationRuleEvaluatorTests, FiresOnTheChangeThatCompletesTheDevices) {
    AutomationRule both = rule({"a", "b"});
    EXPECT_TRUE(fires(both, {"a"}, {"a", "b"}));
    EXPECT_TRUE(fires(both, {}, {"a", "b", "c"}));
    EXPECT_TRUE(fires(both, {"b", "c"}, {"a", "b"}));
    EXPECT_FALSE(fires(both, {"a", "b"}, {"a", "b", "c"})) << "complete already";
    EXPECT_FALSE(fires(both, {"a", "b"}, {"a"}));
    EXPECT_FALSE(fires(both, {}, {"a", "c"}));
    both.isEnabled = false;
    EXPECT_FALSE(fires(both, {"a"}, {"a", "b"}));

    EXPECT_TRUE(fires(rule({"a", "a"}), {}, {"a"}));
    EXPECT_FALSE(fires(rule({}), {}, {"a"}));
}

} // namespace
} // namespace velto
