#include "VeltoCore/Sync/SyncProfileManager.h"

#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <utility>

namespace velto {

SyncProfileManager::SyncProfileManager(UserDefaults& defaults, const Clock& clock)
    : defaults_(defaults), clock_(clock) {
    if (const auto data = defaults_.dataValue(storageKey))
        profiles_ = decodeSyncProfiles(*data).value_or(std::vector<SyncProfile>());
}

Subscription SyncProfileManager::observeProfiles(std::function<void()> handler) {
    return observers_.observe(std::move(handler));
}

std::optional<SyncProfile> SyncProfileManager::profile(const std::vector<std::string>& forDeviceUIDs) const {
    const std::string key = SyncProfile::key(forDeviceUIDs);
    if (forNow_ && forNow_->id == key) return forNow_;
    const auto found = std::ranges::find(profiles_, key, &SyncProfile::id);
    return found == profiles_.end() ? std::nullopt : std::optional(*found);
}

void SyncProfileManager::save(SyncProfile profile) {
    profile.updatedAt = clock_.now();
    const std::string id = profile.id;
    const std::string_view kind = rawValue(profile.kind);
    auto profiles = profiles_;
    const auto found = std::ranges::find(profiles, id, &SyncProfile::id);
    if (found == profiles.end()) {
        profiles.push_back(std::move(profile));
    } else {
        *found = std::move(profile);
    }
    assign(std::move(profiles));
    LoggingService::sync.info("Saved sync profile {} ({})", publicText(id), publicText(kind));
}

void SyncProfileManager::remove(std::string_view id) {
    auto profiles = profiles_;
    std::erase_if(profiles, [&](const SyncProfile& profile) { return profile.id == id; });
    assign(std::move(profiles));
}

void SyncProfileManager::setForNow(std::optional<SyncProfile> profile) {
    if (forNow_ == profile) return;
    forNow_ = std::move(profile);
    observers_.notify();
}

void SyncProfileManager::assign(std::vector<SyncProfile> profiles) {
    const bool isChanged = profiles != profiles_;
    profiles_ = std::move(profiles);
    persist();
    if (isChanged) observers_.notify();
}

/// A list that can't be expressed is dropped from the store rather than left there stale.
void SyncProfileManager::persist() {
    if (auto data = encodeSyncProfiles(profiles_)) {
        defaults_.set(storageKey, std::move(*data));
    } else {
        defaults_.remove(storageKey);
    }
}

} // namespace velto
