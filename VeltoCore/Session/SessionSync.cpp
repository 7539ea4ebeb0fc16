#include "VeltoCore/Session/SessionSync.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <utility>
#include <vector>

namespace velto {

namespace {

std::vector<std::string> outputs(const DualOutputSession& session) {
    return {session.first.uid, session.second.uid};
}

} // namespace

SessionSync::SessionSync(SystemAudioManager& systemAudio, PreferencesManager& preferences, SyncEngine& engine,
                         SyncProfileManager& profiles, const Clock& clock, FailureHandler failed)
    : systemAudio_(systemAudio), preferences_(preferences), engine_(engine), profiles_(profiles),
      clock_(clock), failed_(std::move(failed)), profilesSubscription_(profiles.observeProfiles([this] {
          if (const auto session = systemAudio_.activeSession()) apply(*session);
      })),
      failuresSubscription_(engine.observeFailures([this] { fail(AudioManagerError::syncEngineFailed()); })) {
}

std::optional<SyncProfile> SessionSync::currentProfile() const {
    const auto session = systemAudio_.activeSession();
    return session ? profiles_.profile(outputs(*session)) : std::nullopt;
}

void SessionSync::sessionChanged() {
    const auto session = systemAudio_.activeSession();
    const AudioObjectID aggregate = session ? session->aggregateDeviceID : kAudioObjectUnknown;
    // One session may follow another, and what it is to be delayed by may fail to be applied.
    if (std::exchange(aggregate_, aggregate) != aggregate) engine_.sessionEnded();
    if (session) return apply(*session);
    hasFailed_ = false;
    profiles_.setForNow(std::nullopt);
}

void SessionSync::apply(const DualOutputSession& session) {
    // What can't be corrected is only an estimate.
    if (!engine_.capabilities().supportsPerDeviceDelay) return;
    const auto stored = profiles_.profile(outputs(session));
    // Of what is stored only what concerns these outputs.
    SyncProfile profile(outputs(session), session.masterUID, {}, SyncProfile::Kind::manual, clock_.now());
    for (const std::string& uid : profile.deviceUIDs)
        if (stored) profile.corrections.emplace(uid, stored->correction(uid));
    try {
        engine_.apply(profile);
    } catch (...) {
        fail(currentAudioManagerError());
    }
}

void SessionSync::fail(const AudioManagerError& error) {
    LoggingService::sync.error("The outputs are not kept in step: {}", error.errorDescription());
    if (!std::exchange(hasFailed_, true)) failed_(error);
}

void SessionSync::setCorrections(std::map<std::string, double> corrections, SyncProfile::Kind kind) {
    const auto session = systemAudio_.activeSession();
    if (!session) return;
    SyncProfile profile(outputs(*session), session->masterUID, {}, kind, clock_.now());
    for (const std::string& uid : profile.deviceUIDs) {
        if (preferences_.defaultReferenceDeviceUID() == uid) profile.referenceUID = uid;
        profile.corrections.emplace(uid, corrections[uid]);
    }
    if (!preferences_.rememberSyncProfiles()) return profiles_.setForNow(std::move(profile));
    profiles_.save(std::move(profile));
    profiles_.setForNow(std::nullopt); // after: the stored one of before is not to be heard in between
}

} // namespace velto
