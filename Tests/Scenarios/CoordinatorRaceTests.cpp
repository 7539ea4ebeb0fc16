// Two things at once, in virtual time: while one thing is under way for the coordinator, another comes at
// each of its turns.
#include "Tests/Support/Application.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;

/// The usual outputs, headphones and speakers playing or about to, on a slow machine.
struct CoordinatorStage {
    explicit CoordinatorStage(bool isPlaying) {
        application.launch();
        application.preferences.autoReconnect.set(true);
        if (isPlaying) {
            application.play("bluetooth", "builtin");
            EXPECT_TRUE(application.coordinator.saveCurrentSessionAsPreset("Both"));
        }
        machine.world.faults.aliveAfter = 120ms;
        machine.world.faults.lingersAfterDestroy = 250ms;
        machine.world.faults.slowOutputChange = 40ms;
        machine.loop.setBlockingCallDuration(30ms);
    }
    ~CoordinatorStage() {
        machine.world.faults = {};
        application.quit();
        EXPECT_THAT(machine.world.aggregates(), IsEmpty());
        EXPECT_EQ(machine.world.listenerCount(), 0U);
    }
    DualOutputCoordinator& coordinator() { return application.coordinator; }

    static Machine& plugged(Machine& machine) {
        machine.plugUsualOutputs();
        return machine;
    }

    Machine machine;
    Application application{plugged(machine)}; // it knows the outputs from the start
};

struct Happening {
    std::string name;
    bool startsPlaying;
    std::function<void(CoordinatorStage&)> begin;
};

void PrintTo(const Happening& happening, std::ostream* stream) { *stream << happening.name; }

const std::vector<Happening> happenings{
    {"Start", false,
     [](CoordinatorStage& stage) { stage.application.begin(stage.application.playing("usb", "builtin")); }},
    {"Restart", true,
     [](CoordinatorStage& stage) { stage.application.begin(stage.application.playing("usb", "builtin")); }},
    {"Stop", true,
     [](CoordinatorStage& stage) { stage.application.begin(stage.coordinator().stopDualOutput()); }},
    {"Abandon", true, [](CoordinatorStage& stage) { stage.machine.world.pickDefault("hdmi"); }},
    {"Rebuild", true,
     [](CoordinatorStage& stage) { stage.application.begin(stage.coordinator().reconnect()); }},
    {"Reset", true,
     [](CoordinatorStage& stage) { stage.application.begin(stage.coordinator().resetAudioConfiguration()); }},
};

class CoordinatorRaceTests : public testing::TestWithParam<Happening> {
  protected:
    /// Lets the second thing come at each turn of the first, and judges how it ends.
    static void atEachTurn(const std::function<void(CoordinatorStage&)>& second,
                           const std::function<void(CoordinatorStage&)>& expectEnd) {
        bool isOver = false;
        for (int turns = 0; !isOver; ++turns) {
            SCOPED_TRACE(turns);
            CoordinatorStage stage(GetParam().startsPlaying);
            GetParam().begin(stage);
            for (int turn = 0; turn < turns; ++turn)
                isOver = !stage.machine.loop.runNextTurn();
            second(stage);
            stage.machine.loop.runUntilIdle();
            EXPECT_THAT(violations(stage.application), IsEmpty());
            expectEnd(stage);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(, CoordinatorRaceTests, testing::ValuesIn(happenings),
                         [](const auto& info) { return info.param.name; });

TEST_P(CoordinatorRaceTests, QuitEndsIt) {
    atEachTurn(
        [](CoordinatorStage& stage) {
            const auto quit = stage.application.begin(stage.application.state.prepareForTermination());
            // All this comes too late.
            stage.machine.loop.runNextTurn();
            stage.application.begin(stage.application.playing("hdmi", "builtin"));
            stage.application.begin(stage.coordinator().reconnect());
            stage.coordinator().handleWake();
            stage.machine.loop.runUntilIdle();
            EXPECT_TRUE(quit.isDone());
        },
        [](CoordinatorStage& stage) {
            EXPECT_FALSE(stage.coordinator().state().isActive());
            EXPECT_THAT(stage.machine.world.aggregates(), IsEmpty());
            EXPECT_EQ(stage.machine.world.listenerCount(), 0U);
            EXPECT_EQ(stage.application.preferences.loadRecoveryState(), std::nullopt);
        });
}

TEST_P(CoordinatorRaceTests, AResetLeavesNothing) {
    atEachTurn(
        [](CoordinatorStage& stage) {
            stage.application.begin(stage.coordinator().resetAudioConfiguration());
        },
        [](CoordinatorStage& stage) { EXPECT_TRUE(stage.application.isIdle()); });
}

TEST_P(CoordinatorRaceTests, AStartIsIgnoredWhileItWouldDisturb) {
    atEachTurn(
        [](CoordinatorStage& stage) {
            const bool isIgnored = stage.coordinator().state().isBusy();
            const auto error = stage.coordinator().lastError();
            const auto preset = stage.coordinator().activePresetID();
            const auto last = stage.application.preferences.lastPreset();
            const auto started = stage.application.begin(stage.application.playing("hdmi", "hdmi"));
            if (!isIgnored) return;
            const AudioOutputDevice gone = stage.application.device("gone");
            const auto absent = AudioPreset::create("Absent", gone, gone, {});
            const auto activated = stage.application.begin(stage.coordinator().activatePreset(absent));
            while (!started.isDone() || !activated.isDone())
                stage.machine.loop.runNextTurn();
            EXPECT_EQ(stage.coordinator().lastError(), error);
            EXPECT_EQ(stage.coordinator().activePresetID(), preset);
            EXPECT_EQ(stage.application.preferences.lastPreset(), last);
        },
        [](CoordinatorStage&) {});
}

TEST_P(CoordinatorRaceTests, AnOutputGoesAndComesBack) {
    for (const std::string_view uid : {"bluetooth", "builtin"}) {
        atEachTurn([uid](CoordinatorStage& stage) { stage.machine.world.unplug(uid); },
                   [uid](CoordinatorStage& stage) {
                       const auto session = stage.coordinator().state().session();
                       const bool concerned =
                           session && (session->first.uid == uid || session->second.uid == uid);
                       EXPECT_EQ(stage.application.missing(), concerned ? uid : "");
                       stage.machine.world.replugWithAnotherID(uid);
                       stage.machine.loop.runUntilIdle();
                       EXPECT_EQ(stage.application.isPlaying(), session.has_value());
                       EXPECT_THAT(violations(stage.application), IsEmpty());
                   });
    }
}

TEST_P(CoordinatorRaceTests, TheMachineWakes) {
    atEachTurn([](CoordinatorStage& stage) { stage.coordinator().handleWake(); }, [](CoordinatorStage&) {});
}

TEST(CoordinatorRaces, AChoiceThatANewStartOvertakesEndsNothing) {
    CoordinatorStage stage(true);
    stage.machine.world.pickDefault("hdmi");
    stage.application.begin(stage.application.playing("usb", "builtin"));
    stage.machine.loop.runUntilIdle();
    ASSERT_TRUE(stage.application.isPlaying()) << "the choice was about the session before";
    EXPECT_EQ(stage.coordinator().state().session()->first.uid, "usb");
    EXPECT_THAT(violations(stage.application), IsEmpty());
}

} // namespace
} // namespace velto
