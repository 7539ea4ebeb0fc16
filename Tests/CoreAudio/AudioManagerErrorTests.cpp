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
        {E::incompatibleSampleRates("A", "B"),
         "A and B do not share a common sample rate, so they cannot play together.",
         "Try a different pair of devices or change the preferred sample rate in Settings."},
        {E::aggregateCreationFailed("Bad audio device"),
         "Could not create the multi-output device. Bad audio device", reset},
        {E::cannotSetDefaultOutput("Why."), "Could not switch the system output. Why.", pick},
        {E::cannotRestoreOutput("Why."), "Could not restore the previous system output. Why.", pick},
        {E::coreAudioError(0), "Core Audio reported an error: No error", reset},
        {E::sameDeviceSelected(), "Please choose two different output devices.", std::nullopt},
    };
    for (const auto& [error, description, suggestion] : cases) {
        EXPECT_EQ(error.errorDescription(), description);
        EXPECT_EQ(error.recoverySuggestion(), suggestion);
        EXPECT_EQ(error.what(), description);
    }
}

} // namespace
} // namespace velto
