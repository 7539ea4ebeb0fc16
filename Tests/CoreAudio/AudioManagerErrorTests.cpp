#include "VeltoCore/CoreAudio/AudioManagerError.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>

namespace velto {
namespace {

using E = AudioManagerError;

TEST(AudioManagerErrorTests, TellsTheUserWhatHappenedAndWhatToDo) {
    struct Case {
        AudioManagerError error;
        std::string description;
        std::optional<std::string> suggestion;
    };
    const std::string reconnect = "Reconnect the device and try again.";
    const std::string pick = "You can pick an output manually in System Settings > Sound.";
    const std::string reset = "Use Reset Audio Configuration in Settings if the problem persists.";
    const Case cases[] = {
        {E::deviceNotFound("Desk"), "Desk could not be found. Make sure it is connected and try again.",
         reconnect},
        {E::deviceUnavailable("Desk"), "Desk is currently unavailable.", reconnect},
        {E::incompatibleSampleRates("A", "B"),
         "A and B do not share a common sample rate, so they cannot play together.",
         "Try a different pair of devices or change the preferred sample rate in Settings."},
        {E::aggregateCreationFailed("Bad audio device"),
         "Could not create the multi-output device. Bad audio device", reset},
        {E::cannotSetDefaultOutput("Why."), "Could not switch the system output. Why.", pick},
        {E::cannotRestoreOutput("Why."), "Could not restore the previous system output. Why.", pick},
        {E::bluetoothDisconnected("Desk"), "Desk is no longer available.", reconnect},
        {E::aggregateDestroyFailed("Why."), "Could not remove the Velto output. Why.",
         "Use Reset Audio Configuration in Settings to clean up."},
        {E::deviceDisconnected("Desk"), "Desk is no longer available.", reconnect},
        {E::coreAudioError(0), "Core Audio reported an error: No error", reset},
        {E::sameDeviceSelected(), "Please choose two different output devices.", std::nullopt},
        {E::noOutputDevices(), "No audio outputs are available.",
         "Connect headphones, a speaker or another audio output."},
        {E::permissionDenied(), "Velto does not have permission to change audio settings.",
         "Check System Settings > Privacy & Security."},
        {E::syncEngineUnavailable(),
         "Adjusting delay needs the Velto Sync Engine, which is not available in this version.",
         std::nullopt},
    };
    static_assert(std::size(cases) == std::variant_size_v<E::Kind>);
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(cases[i].error.kind().index(), i);
        EXPECT_EQ(cases[i].error.errorDescription(), cases[i].description);
        EXPECT_EQ(cases[i].error.recoverySuggestion(), cases[i].suggestion);
        EXPECT_EQ(cases[i].error.what(), cases[i].description);
    }
}

} // namespace
} // namespace velto
