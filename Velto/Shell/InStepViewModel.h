// InStepViewModel: when each output of the session is heard, as the windows and the commands show and turn
// it.
//
// Owned by the root of the object graph; main actor only. Its own is whether the click runs while one turns;
// everything else is read where it belongs each time it is asked for.
#pragma once

#include "Velto/Shell/ChangeAnnouncer.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/OutputDelays.h"
#include "VeltoCore/Sync/SyncProfileManager.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

/// One output of the session.
struct InStepRow {
    std::string uid;
    std::string name;
    /// How much later than it would it is to be heard, in milliseconds.
    double delay = 0;
    /// The same in words, such as "12.4 ms later".
    std::string text;

    friend bool operator==(const InStepRow&, const InStepRow&) = default;
};

class InStepViewModel {
  public:
    /// All must outlive the model.
    InStepViewModel(DualOutputCoordinator& coordinator, AudioDeviceManager& deviceManager,
                    PreferencesManager& preferences, SyncProfileManager& syncProfiles,
                    SyncTestPlayer& syncTestPlayer, MainActor& actor);
    InStepViewModel(const InStepViewModel&) = delete;
    InStepViewModel& operator=(const InStepViewModel&) = delete;

    /// Calls the handler when anything below may have changed, at most once a turn of the main loop.
    Subscription observe(std::function<void()> handler) { return changes_.observe(std::move(handler)); }

    /// Whether this system can delay outputs at all.
    bool isSupported() const noexcept { return coordinator_.canAdjustSync(); }
    /// Whether outputs that play can be heard later than they would.
    bool isAvailable() const { return isSupported() && coordinator_.state().isActive(); }
    static constexpr std::string_view help =
        "Delay the output that sounds early, until both are heard at the same moment.";
    static constexpr std::string_view unavailableText =
        "While two outputs play together, you can adjust here when each is heard.";
    /// In the session's order; empty where nothing can be adjusted.
    std::vector<InStepRow> rows() const;

    /// Of that output; absent where it can't be adjusted.
    std::optional<double> delay(std::string_view ofUID) const;
    /// Has that output of the session be heard so many milliseconds later; the others stay. Clamped to what
    /// can be.
    void setDelay(double milliseconds, const std::string& uid);

    // The click while one turns

    bool clicksWhileAdjusting() const noexcept { return clicksWhileAdjusting_; }
    /// Begins and ends the click too.
    void setClicksWhileAdjusting(bool clicks);

    // What the outputs report

    /// What they report, and what that is worth; a sentence or two.
    std::string reportedLatencyText() const;
    /// Whether what they report makes a difference.
    bool canUseReportedLatency() const { return !reportedDelays().empty(); }
    /// Delays by what the outputs report, as a first guess.
    void useReportedLatency();

  private:
    /// The session's outputs as they are now.
    std::vector<AudioOutputDevice> outputs() const;
    OutputDelays delays() const;
    /// Empty where not all report a latency, or all the same.
    OutputDelays reportedDelays() const;
    void setDelays(OutputDelays delays, SyncProfile::Kind kind);
    void sessionMayHaveEnded();

    ChangeAnnouncer changes_;
    DualOutputCoordinator& coordinator_;
    AudioDeviceManager& deviceManager_;
    PreferencesManager& preferences_;
    SyncTestPlayer& syncTestPlayer_;
    bool clicksWhileAdjusting_ = false;
};

} // namespace velto
