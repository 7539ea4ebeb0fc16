#include "VeltoCore/Sync/OutputDelays.h"

#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <cmath>

namespace velto {

namespace {

double finite(double correction) { return std::isfinite(correction) ? correction : 0; }

/// Steps that are multiples of a tenth read best when they are the number that a person would write.
double inSteps(double milliseconds) { return std::round(milliseconds / outputDelayStep) / 10; }

OutputDelays corrections(const SyncProfile& profile) {
    OutputDelays result;
    for (const std::string& uid : profile.deviceUIDs)
        result.emplace(uid, finite(profile.correction(uid)));
    return result;
}

double least(const OutputDelays& delays) {
    double result = delays.empty() ? 0 : delays.begin()->second;
    for (const auto& entry : delays)
        result = std::min(result, entry.second);
    return result;
}

} // namespace

OutputDelays outputDelays(const SyncProfile& profile) {
    OutputDelays delays = corrections(profile);
    const double reference = least(delays);
    for (auto& [uid, delay] : delays) {
        const double wanted = inSteps(delay - reference);
        delay = std::min(wanted, longestOutputDelay);
        if (delay < wanted)
            LoggingService::sync.error("A delay of {:.0f} ms is too long: {} is delayed by {:.0f} ms", wanted,
                                       publicText(uid), delay);
    }
    return delays;
}

OutputDelays shownDelays(const SyncProfile& profile) {
    OutputDelays delays = corrections(profile);
    const double shift = std::min(0.0, least(delays));
    for (auto& [uid, delay] : delays)
        delay = std::min(inSteps(delay - shift), longestOutputDelay);
    return delays;
}

} // namespace velto
