#include "VeltoCore/Sync/VeltoSyncEngine.h"

#include <utility>

namespace velto {

VeltoSyncEngine::VeltoSyncEngine(CoreAudioClient& client, std::string aggregateUID)
    : client_(client), aggregateUID_(std::move(aggregateUID)) {}

VeltoSyncEngine::~VeltoSyncEngine() { sessionEnded(); }

void VeltoSyncEngine::apply(const SyncProfile& profile) {
    const auto aggregate = client_.deviceID(aggregateUID_);
    if (!aggregate) throw AudioManagerError::deviceNotFound(aggregateUID_);
    Applied wanted{*aggregate, outputDelays(profile)};
    if (applied_ == wanted) return;
    listen(*aggregate);
    client_.setOutputDelays(*aggregate, wanted.delays);
    applied_ = std::move(wanted);
}

void VeltoSyncEngine::listen(AudioObjectID aggregate) {
    if (listener_ && applied_ && applied_->aggregate == aggregate) return;
    sessionEnded();
    listener_ = client_.addPropertyListener(aggregate, kVeltoAggregatePropertyOutputDelaysLost,
                                            kAudioObjectPropertyScopeGlobal, [this] {
                                                applied_.reset(); // the same may be tried again
                                                failures_.notify();
                                            });
}

void VeltoSyncEngine::sessionEnded() noexcept {
    if (listener_) client_.removePropertyListener(listener_);
    listener_.reset();
    applied_.reset();
}

} // namespace velto
