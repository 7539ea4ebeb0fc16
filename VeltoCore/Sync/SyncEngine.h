// SyncEngine: what corrects the outputs of a session against one another, as far as it can.
#pragma once

#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Sync/SyncProfile.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace velto {

struct SyncEngineCapabilities {
    bool supportsPerDeviceDelay = false;
    bool supportsPerDeviceGain = false;
    /// Finding the corrections by itself.
    bool supportsAutoSync = false;
    /// Absent for no limit.
    std::optional<std::int64_t> maximumOutputs = std::nullopt;

    friend bool operator==(const SyncEngineCapabilities&, const SyncEngineCapabilities&) = default;
};

class SyncEngine {
  public:
    virtual ~SyncEngine() = default;
    /// For the user.
    virtual std::string_view name() const noexcept = 0;
    /// What it can do, in a sentence or two for the user.
    virtual std::string_view explanation() const noexcept = 0;
    virtual SyncEngineCapabilities capabilities() const noexcept = 0;
    /// Throws AudioManagerError for a profile that the engine can't do.
    virtual void apply(const SyncProfile& profile) = 0;
    /// What was applied has gone with the session.
    virtual void sessionEnded() noexcept {}
    /// Calls the handler when what was applied could not be kept up: the outputs play uncorrected.
    virtual Subscription observeFailures(std::function<void()>) { return {}; }
};

} // namespace velto
