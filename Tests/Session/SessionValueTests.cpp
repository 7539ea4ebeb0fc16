#include "VeltoCore/Session/AudioSessionState.h"
#include "VeltoCore/Session/DisconnectBehavior.h"
#include "VeltoCore/Session/PreparationStep.h"
#include "VeltoCore/Session/VeltoStatus.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>

namespace velto {
namespace {

DualOutputSession session(std::string firstUID) {
    DualOutputSession session;
    session.first = AudioOutputDevice::disconnected(std::move(firstUID), "First", AudioTransportType());
    session.second = AudioOutputDevice::disconnected("second", "Second", AudioTransportType());
    session.aggregateDeviceID = 7;
    return session;
}

TEST(AudioSessionStateTests, SaysWhetherItPlaysAndWhetherItIsBusy) {
    struct Case {
        AudioSessionState state;
        bool isActive;
        bool isBusy;
    };
    const auto running = session("first");
    const Case cases[] = {
        {{}, false, false},
        {AudioSessionState::starting(), false, true},
        {AudioSessionState::active(running), true, false},
        {AudioSessionState::degraded(running, running.second), true, false},
        {AudioSessionState::stopping(), false, true},
        {AudioSessionState::failed(AudioManagerError::noOutputDevices()), false, false},
    };
    for (const auto& [state, isActive, isBusy] : cases) {
        EXPECT_EQ(state.isActive(), isActive) << state.kind().index();
        EXPECT_EQ(state.isBusy(), isBusy) << state.kind().index();
        EXPECT_EQ(state.session(), isActive ? std::optional(running) : std::nullopt) << state.kind().index();
    }
}

TEST(VeltoStatusTests, ShowsEachCase) {
    struct Case {
        VeltoStatus status;
        std::string title;
        std::string symbolName;
        bool isPlaying;
        bool isBusy;
    };
    const auto error = AudioManagerError::sameDeviceSelected();
    const Case cases[] = {
        {{}, "Not playing", "circle", false, false},
        {VeltoStatus::Connecting{}, "Connecting\u2026", "circle.dotted", false, true},
        {VeltoStatus::Preparing{PreparationStep::creatingGroup}, "Creating audio group\u2026",
         "circle.dotted", false, true},
        {VeltoStatus::Playing{}, "Playing Together", "checkmark.circle.fill", true, false},
        {VeltoStatus::Reconnecting{}, "Reconnecting\u2026", "circle.dotted", true, true},
        {VeltoStatus::Degraded{"Desk", false}, "Desk disconnected", "exclamationmark.triangle.fill", true,
         false},
        {VeltoStatus::Degraded{"", false}, " disconnected", "exclamationmark.triangle.fill", true, false},
        {VeltoStatus::Degraded{"Desk", true}, "Desk reconnected", "arrow.triangle.2.circlepath", true, false},
        {VeltoStatus::Error{error}, "Please choose two different output devices.", "xmark.circle.fill", false,
         false},
    };
    for (const auto& [status, title, symbolName, isPlaying, isBusy] : cases) {
        EXPECT_EQ(status.title(), title);
        EXPECT_EQ(status.symbolName(), symbolName) << title;
        EXPECT_EQ(status.isPlaying(), isPlaying) << title;
        EXPECT_EQ(status.isBusy(), isBusy) << title;
    }
}

TEST(SessionSettingTests, RawValuesReadBackAndNothingElseDoes) {
    for (const PreparationStep step : allPreparationSteps)
        EXPECT_EQ(preparationStep(rawValue(step)), step);
    for (const int other : {4, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_EQ(preparationStep(other), std::nullopt);
    EXPECT_LT(PreparationStep::checkingDevices, PreparationStep::startingPlayback);

    for (const DisconnectBehavior behavior : allDisconnectBehaviors)
        EXPECT_EQ(disconnectBehavior(rawValue(behavior)), behavior);
    EXPECT_EQ(rawValue(DisconnectBehavior::pauseGroup), "pauseGroup");
    EXPECT_EQ(disconnectBehavior("KeepPlaying"), std::nullopt);
}

} // namespace
} // namespace velto
