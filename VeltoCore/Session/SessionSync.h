// SessionSync: keeps the outputs of the running session in step, as their profile says.
//
// Part of DualOutputCoordinator, which says when the session may have changed; main actor only. Applying
// never ends a session: what can't be applied is logged, told once a session, and tried again with the next
// change.
#pragma once

#include "VeltoCore/Async/Clock.h"
#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Session/SystemAudioManager.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/OutputDelays.h"
#include "VeltoCore/Sync/SyncEngine.h"
#include "VeltoCore/Sync/SyncProfileManager.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace velto {

class SessionSync {
  public:
    using FailureHandler = std::function<void(const AudioManagerError&)>;

    /// All must outlive it; the clock dates what is adjusted.
    SessionSync(SystemAudioManager& systemAudio, PreferencesManager& preferences, SyncEngine& engine,
                SyncProfileManager& profiles, const Clock& clock, FailureHandler failed);
    SessionSync(const SessionSync&) = delete;
    SessionSync& operator=(const SessionSync&) = delete;

    SyncEngine& engine() const noexcept { return engine_; }
    /// Of the session's outputs.
    std::optional<SyncProfile> currentProfile() const;

    /// After the session began, was rebuilt or ended, and when the audio service answers again.
    void sessionChanged();
    /// Gives the session's outputs these corrections, in milliseconds by UID, and keeps them as their
    /// profile, for as long as the user wants profiles kept. Nothing without a session.
    void setCorrections(std::map<std::string, double> corrections, SyncProfile::Kind kind);

  private:
    void apply(const DualOutputSession& session);
    void fail(const AudioManagerError& error);

    SystemAudioManager& systemAudio_;
    PreferencesManager& preferences_;
    SyncEngine& engine_;
    SyncProfileManager& profiles_;
    const Clock& clock_;
    FailureHandler failed_;
    /// Whether the user was told in this session.
    bool hasFailed_ = false;
    /// Of the session, as last seen.
    AudioObjectID aggregate_ = kAudioObjectUnknown;
    Subscription profilesSubscription_;
    Subscription failuresSubscription_;
};

} // namespace velto
