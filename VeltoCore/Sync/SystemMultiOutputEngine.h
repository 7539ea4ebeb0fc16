// SystemMultiOutputEngine: the plain aggregate device as a sync engine.
//
// It keeps the outputs' clocks aligned but can't delay one against another.
#pragma once

#include "VeltoCore/Sync/SyncEngine.h"

namespace velto {

class SystemMultiOutputEngine final : public SyncEngine {
  public:
    std::string_view name() const noexcept override { return "System Multi-Output"; }
    std::string_view explanation() const noexcept override {
        return "The system multi-output engine keeps device clocks aligned but cannot delay one output "
               "against "
               "another. Manual sync arrives with the Velto Sync Engine.";
    }
    SyncEngineCapabilities capabilities() const noexcept override { return {}; }
    /// Throws `syncEngineUnavailable` for a profile with corrections; nothing is to be done for others.
    void apply(const SyncProfile& profile) override;
};

} // namespace velto
