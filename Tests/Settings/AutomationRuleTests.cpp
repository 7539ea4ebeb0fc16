#include "VeltoCore/Settings/AutomationRule.h"
#include "VeltoCore/Settings/AutomationRuleEvaluator.h"

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <string_view>
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

TEST(AutomationRuleTests, StoredFormIsExact) {
    const UUID id = *UUID::fromString("0F8FAD5B-D9CB-469F-A165-70867728950E");
    const AutomationRule expected{.id = id,
                                  .isEnabled = true,
                                  .trigger = AutomationRule::DevicesAvailable{{"a", "b"}},
                                  .action = AutomationRule::ActivatePreset{id}};
    const std::string text = R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","isEnabled":true,)"
                             R"("trigger":{"devicesAvailable":{"uids":["a","b"]}},)"
                             R"("action":{"activatePreset":{"id":"0F8FAD5B-D9CB-469F-A165-70867728950E"}}})";
    const auto read = [](std::string_view stored) {
        return decodeAutomationRule(Data(stored.begin(), stored.end()));
    };
    const Data encoded = *encodeAutomationRule(expected);
    EXPECT_EQ(std::string(encoded.begin(), encoded.end()), text);
    EXPECT_EQ(read(text), expected);

    const auto without = [&](std::string_view part, std::string_view replacement) {
        std::string changed = text;
        return read(changed.replace(changed.find(part), part.size(), replacement)).error().message;
    };
    EXPECT_EQ(without("devicesAvailable", "later"), "The key is missing.");
    EXPECT_EQ(without(R"({"activatePreset")", R"({"later":{},"activatePreset")"),
              "Invalid number of keys found, expected one.");
}

} // namespace
} // namespace velto
