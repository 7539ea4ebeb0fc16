// Machine: a computer to test on: a loop in virtual time, a log, a disk with the user's defaults, a desktop,
// audio devices.
//
// What runs on it must be gone before it is; then leftovers() says what was left behind.
#pragma once

#include "Platform/macOS/MacWords.h"
#include "Simulation/InMemoryUserDefaults.h"
#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedApplicationHost.h"
#include "Simulation/SimulatedAudioSystem.h"
#include "Simulation/SimulatedLoginItemService.h"
#include "Simulation/SimulatedMainActor.h"
#include "Simulation/SimulatedMicrophone.h"
#include "Simulation/SimulatedNotificationService.h"
#include "Simulation/SimulatedShortcutService.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <vector>

namespace velto {

class Machine {
  public:
    /// A Mac's words: those of Linux are what differs.
    Machine() { desktop.platformWords = macWords(); }

    SimulatedMainActor loop; // dies last
    RecordingLogSink log;
    InMemoryUserDefaults defaults;
    SimulatedApplicationHost desktop;
    SimulatedLoginItemService loginItems;
    SimulatedNotificationService notifications;
    SimulatedShortcutService shortcuts;
    SimulatedAudioSystem world{loop};
    SimulatedRoom room;

    /// Plugs in the four usual outputs. The USB interface is the default output, the display plays alerts:
    /// neither is what the system would fall back to.
    void plugUsualOutputs() {
        for (const auto& device : {SimulatedDevice::builtInSpeakers(), SimulatedDevice::usbInterface(),
                                   SimulatedDevice::bluetoothHeadphones(), SimulatedDevice::hdmiDisplay()})
            world.plug(device);
        world.pickDefault("usb");
        world.pickAlertOutput("hdmi");
    }

    // What somebody does to it, until nothing is left to do. The world's own verbs leave that to the test.

    void unplug(std::string_view uid) {
        world.unplug(uid);
        loop.runUntilIdle();
    }
    void replug(std::string_view uid) {
        world.replug(uid);
        loop.runUntilIdle();
    }
    void pickDefault(std::string_view uid) {
        world.pickDefault(uid);
        loop.runUntilIdle();
    }
    float volumeOf(std::string_view uid) const { return world.device(uid).volume.value(); }

    /// Aggregates and listeners that nobody owns any more, and faults that never came to bear.
    std::vector<std::string> leftovers() const {
        std::vector<std::string> result = world.unconsumedFaults();
        for (const std::string& listener : world.listeners())
            result.push_back("listener " + listener);
        for (const SimulatedAggregate& aggregate : world.aggregates())
            result.push_back("aggregate " + aggregate.description.uid);
        return result;
    }
};

/// A test on a machine. It fails when anything is left over once the test and its components are gone.
class MachineTest : public testing::Test, public Machine {
  protected:
    ~MachineTest() override {
        loop.runUntilIdle(); // late callbacks find nobody
        EXPECT_THAT(leftovers(), testing::IsEmpty());
    }
};

} // namespace velto
