// RecoveryStateStore: where the recovery record is kept between runs. The session code knows no more of it.
#pragma once

#include "VeltoCore/Recovery/RecoveryState.h"

#include <optional>

namespace velto {

class RecoveryStateStore {
  public:
    virtual ~RecoveryStateStore() = default;
    /// None when nothing is stored, or nothing readable.
    virtual std::optional<RecoveryState> loadRecoveryState() = 0;
    /// None clears the record. On return the change is on disk.
    virtual void saveRecoveryState(const std::optional<RecoveryState>& state) = 0;
};

} // namespace velto
