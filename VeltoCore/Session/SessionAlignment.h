// SessionAlignment: the outputs of the running session, measured with a microphone, and delayed so that they
// are heard together.
//
// Owned by the root of the object graph; main actor only. One run at a time. Whatever ends it, what players
// send is heard again in the same turn, with the delays that the session's profile says; only a run that ends
// well has changed that profile. A run belongs to one session as it was: where an output, the pair, its
// profile, or the session itself changes, the run ends.
#pragma once

#include "VeltoCore/Async/Cancellation.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/AlignmentRun.h"
#include "VeltoCore/Sync/SyncProfileManager.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class SessionAlignment {
  public:
    struct Input {
        std::string uid;
        std::string name;

        friend bool operator==(const Input&, const Input&) = default;
    };
    /// How the last run ended: in a sentence for the user, and as one of these.
    struct End {
        std::string sentence;
        std::optional<AlignmentFailure> failure;
        std::optional<Alignment> alignment;

        friend bool operator==(const End&, const End&) = default;
    };
    struct State {
        /// Absent while nothing is measured.
        std::optional<AlignmentRun::Progress> progress;
        /// Absent before the first run, and during one.
        std::optional<End> end;

        friend bool operator==(const State&, const State&) = default;
    };

    /// All must outlive it. Null for a platform that has no microphone for this.
    SessionAlignment(MainActor& actor, CoreAudioClient& client, DualOutputCoordinator& coordinator,
                     SyncProfileManager& profiles, PreferencesManager& preferences,
                     std::unique_ptr<Microphone> microphone);
    SessionAlignment(const SessionAlignment&) = delete;
    SessionAlignment& operator=(const SessionAlignment&) = delete;
    ~SessionAlignment();

    /// Calls the handler when the state really changes: a few times a second while measuring.
    Subscription observe(std::function<void()> handler) { return state_.observe(std::move(handler)); }
    const State& state() const noexcept { return state_.value(); }
    bool isRunning() const noexcept { return run_ != nullptr; }
    /// Whether this system can measure at all.
    bool isPossible() const noexcept { return microphone_ && coordinator_.canAdjustSync(); }
    /// What can be listened to. Empty also where nobody answers.
    std::vector<Input> inputs() const;

    /// Measures with the input of that UID, or the default one where it is empty. Nothing while it runs;
    /// where it can't begin it has ended when this returns.
    void start(const std::string& inputUID = {});
    /// Ends what runs, at once; nothing is changed by it.
    void cancel() { end(AlignmentFailure::cancelled); }
    void willSleep() { end(AlignmentFailure::asleep); }

  private:
    struct Run;

    std::optional<AlignmentFailure> obstacle(const std::string& inputUID) const;
    Task<void> perform(std::shared_ptr<Run> run);
    void look();
    void end(AlignmentFailure failure);
    void succeed(const Alignment& alignment);
    void finish(End end);

    MainActor& actor_;
    CoreAudioClient& client_;
    DualOutputCoordinator& coordinator_;
    PreferencesManager& preferences_;
    std::unique_ptr<Microphone> microphone_;
    Observable<State> state_;
    std::shared_ptr<Run> run_; // none while nothing is measured
    Subscription sessionSubscription_;
    Subscription profilesSubscription_;
    TaskScope tasks_; // dies first: its tasks use all of them
};

} // namespace velto
