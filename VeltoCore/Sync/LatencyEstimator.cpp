#include "VeltoCore/Sync/LatencyEstimator.h"

namespace velto {

std::optional<LatencyEstimate> LatencyEstimator::estimate(const AudioOutputDevice& forDevice) {
    return forDevice.reportedLatencyMilliseconds().transform([&](double milliseconds) {
        return LatencyEstimate{.uid = forDevice.uid,
                               .name = forDevice.name,
                               .milliseconds = milliseconds,
                               .kind = SyncProfile::Kind::estimated};
    });
}

} // namespace velto
