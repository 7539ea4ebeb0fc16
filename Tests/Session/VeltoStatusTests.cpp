#include "VeltoCore/Session/VeltoStatus.h"

#include <gmock/gmock.h>

#include <string>

namespace velto {
namespace {

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

} // namespace
} // namespace velto
