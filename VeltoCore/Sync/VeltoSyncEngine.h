// VeltoSyncEngine: delays each output of the aggregate, where the platform can, so that all are heard at the
// same moment.
//
// Owned by the root of the object graph; main actor only. It holds no sound: the audio client does the
// delaying, and undoes it with the aggregate.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Sync/OutputDelays.h"
#include "VeltoCore/Sync/SyncEngine.h"

#include <functional>
#include <optional>
#include <string>

namespace velto {

class VeltoSyncEngine final : public SyncEngine {
  public:
    /// For the aggregate of that UID. The client must outlive the engine.
    VeltoSyncEngine(CoreAudioClient& client, std::string aggregateUID);
    VeltoSyncEngine(const VeltoSyncEngine&) = delete;
    VeltoSyncEngine& operator=(const VeltoSyncEngine&) = delete;
    ~VeltoSyncEngine() override;

    std::string_view name() const noexcept override { return "Velto Sync Engine"; }
    std::string_view explanation() const noexcept override {
        return "Velto can delay each output, so that all are heard at the same moment.";
    }
    SyncEngineCapabilities capabilities() const noexcept override {
        return {.supportsPerDeviceDelay = true, .supportsPerDeviceGain = false, .supportsAutoSync = true};
    }
    /// Throws `deviceNotFound` without an aggregate.
    void apply(const SyncProfile& profile) override;
    void sessionEnded() noexcept override;
    Subscription observeFailures(std::function<void()> handler) override {
        return failures_.observe(std::move(handler));
    }

  private:
    /// What was applied to which aggregate.
    struct Applied {
        AudioObjectID aggregate;
        OutputDelays delays;
        friend bool operator==(const Applied&, const Applied&) = default;
    };

    void listen(AudioObjectID aggregate);

    CoreAudioClient& client_;
    std::string aggregateUID_;
    std::optional<Applied> applied_;
    PropertyListenerTokenRef listener_;
    ObserverList failures_;
};

} // namespace velto
