// The correction of a sync profile that matters most.
#pragma once

#include "VeltoCore/Sync/SyncProfile.h"

#include <algorithm>
#include <cmath>
#include <ranges>

namespace velto {

/// Of all the profile's corrections the one farthest from 0, in milliseconds, without its sign; 0 for none.
inline double largestCorrection(const SyncProfile& profile) {
    double largest = 0;
    for (const double correction : std::views::values(profile.corrections))
        largest = std::max(largest, std::abs(correction));
    return largest;
}

} // namespace velto
