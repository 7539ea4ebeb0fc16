#include "VeltoCore/Sync/SyncProfileManager.h"

#include "Simulation/InMemoryUserDefaults.h"
#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedMainActor.h"

#include <gmock/gmock.h>

#include <chrono>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

SyncProfile profile(std::vector<std::string> uids, double correction = 1) {
    const std::string reference = uids.front();
    return {std::move(uids), reference, {{reference, correction}}, SyncProfile::Kind::manual, Date{1}};
}

class SyncProfileManagerTests : public testing::Test {
  protected:
    std::string stored() const {
        const auto data = defaults.dataValue(SyncProfileManager::storageKey);
        return data ? std::string(data->begin(), data->end()) : "none";
    }
    void store(std::string_view text) {
        defaults.set("com.corlent.velto.syncProfiles", Data(text.begin(), text.end()));
    }
    static std::vector<std::string> ids(const SyncProfileManager& manager) {
        std::vector<std::string> result;
        for (const SyncProfile& profile : manager.profiles())
            result.push_back(profile.id);
        return result;
    }

    SimulatedMainActor clock;
    const RecordingLogSink log;
    InMemoryUserDefaults defaults;
};

TEST_F(SyncProfileManagerTests, OneProfileForASetOfDevicesInAnyOrder) {
    SyncProfileManager manager(defaults, clock);
    manager.save(profile({"usb-1", "bt-2"}));
    manager.save(profile({"c", "d"}));
    clock.advance(1s);
    manager.save(profile({"bt-2", "usb-1"}, 2));

    EXPECT_THAT(ids(manager), ElementsAre("bt-2|usb-1", "c|d"));
    const auto found = manager.profile({"usb-1", "bt-2"});
    ASSERT_TRUE(found);
    EXPECT_EQ(found->correction("bt-2"), 2);
    EXPECT_EQ(found->updatedAt, clock.now());
    EXPECT_LT(manager.profiles()[1].updatedAt, clock.now());
    EXPECT_EQ(manager.profile({"usb-1"}), std::nullopt);
    EXPECT_EQ(SyncProfileManager(defaults, clock).profiles(), manager.profiles());
    EXPECT_EQ(log.lines().back(), "Sync info: Saved sync profile bt-2|usb-1 (manual)");

    manager.remove("bt-2|usb-1");
    EXPECT_THAT(ids(manager), ElementsAre("c|d"));
    EXPECT_THAT(ids(SyncProfileManager(defaults, clock)), ElementsAre("c|d"));
    manager.remove("c|d");
    EXPECT_EQ(stored(), "[]");
}

TEST_F(SyncProfileManagerTests, UnreadableProfilesStayUntilTheNextChange) {
    const SyncProfileManager without(defaults, clock);
    EXPECT_EQ(stored(), "none");
    store("[{}]");
    SyncProfileManager manager(defaults, clock);
    EXPECT_THAT(manager.profiles(), IsEmpty());
    EXPECT_EQ(stored(), "[{}]");
    EXPECT_THAT(log.lines(), IsEmpty());
    manager.remove("unknown");
    EXPECT_EQ(stored(), "[]");

    store("junk");
    SyncProfileManager next(defaults, clock);
    next.save(profile({"a", "b"}, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(stored(), "none") << "what has no stored form leaves nothing stale";
    EXPECT_THAT(ids(next), ElementsAre("a|b"));
}

} // namespace
} // namespace velto
