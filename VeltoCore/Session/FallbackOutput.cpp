#include "VeltoCore/Session/FallbackOutput.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Session/ReturningOutput.h"

#include <utility>

namespace velto {

FallbackOutput::FallbackOutput(const AudioDeviceManager& deviceManager, SessionUIDs session)
    : deviceManager_(deviceManager), session_(std::move(session)) {
    const auto& output = deviceManager.defaultOutputDevice();
    uid_ = output ? output->uid : "";
}

bool FallbackOutput::isChoice(const std::string& uid) {
    const bool isExpected = uid == uid_ || uid == session_.previousDefault;
    // The aggregate may go, or show that it has gone, only after the session has ended.
    const bool isReplaced =
        uid_.empty() || uid_ == AggregateDeviceManager::aggregateUID || !deviceManager_.device(uid_);
    if (!isExpected && !isReplaced && !isReturningOutput(uid, session_, deviceManager_)) return true;
    uid_ = uid;
    return false;
}

} // namespace velto
