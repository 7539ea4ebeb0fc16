// UserDefaultsRecoveryStateStore: keeps the recovery record in the user's defaults.
//
// Main actor only. Each save is on disk before it returns: a record that is written late is of no use after a
// crash.
#pragma once

#include "VeltoCore/Recovery/RecoveryStateStore.h"
#include "VeltoCore/Services/UserDefaults.h"

#include <optional>
#include <string_view>

namespace velto {

class UserDefaultsRecoveryStateStore final : public RecoveryStateStore {
  public:
    static constexpr std::string_view key = "com.corlent.velto.recoveryState";

    explicit UserDefaultsRecoveryStateStore(UserDefaults& defaults) : defaults_(defaults) {}

    /// An unreadable record is absent, without a word, and stays where it is.
    std::optional<RecoveryState> loadRecoveryState() override;
    /// A record that can't be encoded is removed instead.
    void saveRecoveryState(const std::optional<RecoveryState>& state) override;

  private:
    UserDefaults& defaults_;
};

} // namespace velto
