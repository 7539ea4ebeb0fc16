// AlignmentViewModel: "Align with Microphone", as the windows show it: what is listened to, how far it is,
// and what came out.
//
// Owned by the root of the object graph; main actor only. Its own is which input was chosen.
#pragma once

#include "Velto/Shell/ChangeAnnouncer.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Session/SessionAlignment.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

/// When one output was heard after the earlier one, in milliseconds.
struct AlignmentArrival {
    std::string name;
    double before = 0;
    double after = 0;

    friend bool operator==(const AlignmentArrival&, const AlignmentArrival&) = default;
};

class AlignmentViewModel {
  public:
    /// All must outlive the model.
    AlignmentViewModel(SessionAlignment& alignment, DualOutputCoordinator& coordinator,
                       AudioDeviceManager& deviceManager, MainActor& actor);
    AlignmentViewModel(const AlignmentViewModel&) = delete;
    AlignmentViewModel& operator=(const AlignmentViewModel&) = delete;

    /// Calls the handler when anything below may have changed, at most once a turn of the main loop.
    Subscription observe(std::function<void()> handler) { return changes_.observe(std::move(handler)); }

    /// Whether this system can measure at all.
    bool isPossible() const noexcept { return alignment_.isPossible(); }
    static constexpr std::string_view help =
        "Both outputs play short sweeps, and a microphone hears which one is late. It listens for about five "
        "seconds, in which all else is silent; nothing of it is kept.";
    /// The system's own choice first, with an empty UID.
    std::vector<SessionAlignment::Input> inputs() const;
    const std::string& inputUID() const noexcept { return inputUID_; }
    void chooseInput(std::string uid) { changes_.set(inputUID_, std::move(uid)); }

    bool isRunning() const noexcept { return alignment_.isRunning(); }
    bool canStart() const;
    void start();
    void cancel() { alignment_.cancel(); }
    /// Empty while nothing runs.
    std::string progressText() const;
    /// How loud the microphone hears, from 0 to 1.
    float level() const;

    /// How the last measurement of this session ended; absent before it did.
    std::optional<std::string> result() const;
    /// Whether it changed nothing.
    bool hasFailed() const;
    /// What was heard; empty where that can't be told.
    std::vector<AlignmentArrival> arrivals() const;
    /// The end of an axis on which all of them are, in milliseconds.
    double latestShown() const;

  private:
    const SessionAlignment::End* end() const;

    ChangeAnnouncer changes_;
    SessionAlignment& alignment_;
    DualOutputCoordinator& coordinator_;
    std::string inputUID_;
    /// What was measured last was of this session.
    bool isOfThisSession_ = false;
};

} // namespace velto
