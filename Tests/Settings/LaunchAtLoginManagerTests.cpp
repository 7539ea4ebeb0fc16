#include "VeltoCore/Settings/LaunchAtLoginManager.h"

#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedLoginItemService.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

using testing::ElementsAre;
using Status = LoginItemService::Status;

class LaunchAtLoginManagerTests : public testing::Test {
  protected:
    RecordingLogSink log;
    SimulatedLoginItemService service;
};

TEST_F(LaunchAtLoginManagerTests, AFailedChangeIsKeptUntilTheNext) {
    service.current = Status::enabled;
    LaunchAtLoginManager manager(service);
    service.failNextChange("not today");
    manager.setEnabled(false);
    EXPECT_TRUE(manager.isEnabled());
    EXPECT_EQ(manager.lastError(), "not today");
    EXPECT_THAT(log.lines(), ElementsAre("Lifecycle error: Launch at login change failed: not today"));

    service.failNextChange("nor tomorrow");
    service.current = Status::notRegistered; // changed elsewhere: seen after a failure too
    manager.setEnabled(true);
    EXPECT_FALSE(manager.isEnabled());
    EXPECT_EQ(manager.lastError(), "nor tomorrow");
    manager.setEnabled(true);
    EXPECT_TRUE(manager.isEnabled());
    EXPECT_EQ(manager.lastError(), std::nullopt);
}

} // namespace
} // namespace velto
