// LatencyEstimator: an output's latency from what the device itself reports. Pure.
#pragma once

#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Sync/LatencyEstimate.h"

#include <optional>

namespace velto {

struct LatencyEstimator {
    LatencyEstimator() = delete;

    /// Device latency plus safety offset; none when the latency or the rate is unknown.
    static std::optional<LatencyEstimate> estimate(const AudioOutputDevice& forDevice);
};

} // namespace velto
