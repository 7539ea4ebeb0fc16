// SessionWaits: what a session is given time for: that a switch to its aggregate shows, and that its outputs
// come back when it plays nowhere.
//
// A part of DualOutputCoordinator; main actor only. It begins and ends its waits when it is told to look, and
// says how one has ended; what follows from that is done by its owner.
// - A switch that does not show for 5 seconds is made once more; after another 5 it has failed.
// - A session that has played nowhere for 5 seconds is lost, if sound could go elsewhere.
// - None of these 5 seconds counts time asleep. While the audio service does not answer nothing waits, or
//   wakes the program: whoever hears that it answers again has it told to look.
// - A wait is for the session that it began with, and comes to nothing when an operation runs as it ends.
#pragma once

#include "VeltoCore/Async/Cancellation.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Session/DualOutputSession.h"
#include "VeltoCore/Session/SystemAudioManager.h"

#include <functional>
#include <optional>

namespace velto {

class SessionWaits {
  public:
    using Outcome = std::function<Task<void>(DualOutputSession)>;
    struct Outcomes {
        Outcome switchFailed;
        /// Seen when the switch was to be made once more.
        Outcome aggregateGone;
        Outcome outputsLost;
    };

    /// All must outlive it.
    SessionWaits(SystemAudioManager& systemAudio, AudioDeviceManager& deviceManager, MainActor& actor,
                 Outcomes outcomes);

    void watchSwitch();
    void watchForLoss();
    void end();

  private:
    using Wait = std::optional<CancellationSource>;

    static void end(Wait& wait);
    bool isLost() const;
    bool isFor(const DualOutputSession& session) const;
    Task<SleepResult> wait(CancellationToken token);
    Task<void> confirmSwitch(DualOutputSession session, CancellationToken token);
    Task<void> confirmLoss(DualOutputSession session, CancellationToken token);

    SystemAudioManager& systemAudio_;
    AudioDeviceManager& deviceManager_;
    MainActor& actor_;
    Outcomes outcomes_;
    /// Present while they wait.
    Wait switch_;
    Wait loss_;
    TaskScope tasks_; // dies first: its tasks use all the others
};

} // namespace velto
