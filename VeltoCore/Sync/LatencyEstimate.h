// LatencyEstimate: how late an output is taken to play.
#pragma once

#include "VeltoCore/Sync/SyncProfile.h"

#include <string>

namespace velto {

struct LatencyEstimate {
    std::string uid;
    std::string name;
    /// Not rounded.
    double milliseconds = 0;
    /// How the value was obtained.
    SyncProfile::Kind kind = SyncProfile::Kind::estimated;

    const std::string& id() const noexcept { return uid; }

    friend bool operator==(const LatencyEstimate&, const LatencyEstimate&) = default;
};

} // namespace velto
