#include "VeltoCore/Session/RememberedPair.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Session/ReturningOutput.h"

#include <algorithm>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::routing;

} // namespace

void RememberedPair::remember(Content content) {
    content_ = std::move(content);
    const auto& output = deviceManager_.defaultOutputDevice();
    defaultUID_ = output ? output->uid : "";
}

std::optional<RememberedPair::Content> RememberedPair::takeWhenBack() {
    if (!content_) return std::nullopt;
    if (const auto& output = deviceManager_.defaultOutputDevice()) {
        if (wasChosen(*output)) {
            logger.notice("Another output was chosen; the lost outputs are not waited for any more");
            forget();
            return std::nullopt;
        }
        defaultUID_ = output->uid;
    }
    const auto isBack = [this](const AudioOutputDevice& device) {
        return deviceManager_.device(device.uid).has_value();
    };
    if (!std::ranges::all_of(content_->session.devices(), isBack)) return std::nullopt;
    return std::exchange(content_, std::nullopt);
}

/// Not what the system does by itself: replace an output that has gone, switch to one that has come back; nor
/// what the end of the session put back, which may show late.
bool RememberedPair::wasChosen(const AudioOutputDevice& output) const {
    const DualOutputSession& session = content_->session;
    if (output.uid == defaultUID_ || output.uid == session.previousDefaultOutputUID) return false;
    if (defaultUID_.empty() || defaultUID_ == AggregateDeviceManager::aggregateUID) return false;
    if (!deviceManager_.device(defaultUID_)) return false;
    return !isReturningOutput(output.uid, session, deviceManager_);
}

} // namespace velto
