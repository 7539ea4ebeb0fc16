#include "VeltoCore/Recovery/UserDefaultsRecoveryStateStore.h"

#include <utility>

namespace velto {

std::optional<RecoveryState> UserDefaultsRecoveryStateStore::loadRecoveryState() {
    const auto data = defaults_.dataValue(key);
    if (!data) return std::nullopt;
    auto state = decodeRecoveryState(*data);
    return state ? std::optional(std::move(*state)) : std::nullopt;
}

void UserDefaultsRecoveryStateStore::saveRecoveryState(const std::optional<RecoveryState>& state) {
    if (auto data = state ? encodeRecoveryState(*state) : std::nullopt) {
        defaults_.set(key, std::move(*data));
    } else {
        defaults_.remove(key);
    }
    defaults_.synchronize();
}

} // namespace velto
