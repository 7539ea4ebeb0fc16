// SyncProfileManager: the sync profiles, one for each set of outputs, kept in the user's defaults.
//
// Owned by the root of the object graph; main actor only. A stored list that can't be read is empty, without
// a word, and stays where it is until the next change.
#pragma once

#include "VeltoCore/Async/Clock.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/UserDefaults.h"
#include "VeltoCore/Sync/SyncProfile.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class SyncProfileManager {
  public:
    static constexpr std::string_view storageKey = "com.corlent.velto.syncProfiles";

    /// Reads the profiles. Both must outlive the manager; the clock dates them.
    SyncProfileManager(UserDefaults& defaults, const Clock& clock);
    SyncProfileManager(const SyncProfileManager&) = delete;
    SyncProfileManager& operator=(const SyncProfileManager&) = delete;

    /// In the order in which they were added.
    const std::vector<SyncProfile>& profiles() const noexcept { return profiles_; }
    Subscription observeProfiles(std::function<void()> handler);

    /// The profile of these devices, in whatever order they are given: the one for now, else the stored one.
    std::optional<SyncProfile> profile(const std::vector<std::string>& forDeviceUIDs) const;

    /// Replaces the profile of the same devices in its place, else appends it; dated now either way.
    void save(SyncProfile profile);
    void remove(std::string_view id);

    /// A profile that is not stored and comes before a stored one of its devices; none ends it.
    void setForNow(std::optional<SyncProfile> profile);

  private:
    /// Takes the list over, stores it, and notifies if it differs from the old one.
    void assign(std::vector<SyncProfile> profiles);
    void persist();

    UserDefaults& defaults_;
    const Clock& clock_;
    std::vector<SyncProfile> profiles_;
    std::optional<SyncProfile> forNow_;
    ObserverList observers_;
};

} // namespace velto
