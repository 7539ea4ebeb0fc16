// SyncProfile: how much each output of a set that plays together is to be delayed, and how that is known.
#pragma once

#include "VeltoCore/Foundation/Data.h"
#include "VeltoCore/Foundation/Date.h"
#include "VeltoCore/Foundation/DecodingError.h"

#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

struct SyncProfile {
    /// How corrections were obtained.
    enum class Kind { estimated, measured, manual };

    /// Makes the id from the devices.
    SyncProfile(std::vector<std::string> deviceUIDs, std::string referenceUID,
                std::map<std::string, double> corrections, Kind kind, Date updatedAt);

    /// The key of a set of devices, the same in whatever order they stand.
    static std::string key(std::vector<std::string> forDeviceUIDs);

    /// The key of `deviceUIDs`. A profile read from the store keeps the one it was stored with.
    std::string id;
    /// In the order given.
    std::vector<std::string> deviceUIDs;
    /// The output that the others are measured against.
    std::string referenceUID;
    /// In milliseconds, by UID.
    std::map<std::string, double> corrections;
    Kind kind = Kind::estimated;
    /// The last save.
    Date updatedAt;

    /// In milliseconds; 0 for an output that has none.
    double correction(const std::string& forUID) const;
    /// Whether any correction differs from 0.
    bool hasCorrections() const noexcept;

    friend bool operator==(const SyncProfile&, const SyncProfile&) = default;
};

/// The stored form, such as "manual".
std::string_view rawValue(SyncProfile::Kind kind) noexcept;
/// None for any other text; letter case counts.
std::optional<SyncProfile::Kind> syncProfileKind(std::string_view rawValue) noexcept;

/// The list as a JSON array; none when it can't be expressed (a number in it is not finite).
std::optional<Data> encodeSyncProfiles(const std::vector<SyncProfile>& profiles);
/// One bad element fails the whole list.
std::expected<std::vector<SyncProfile>, DecodingError> decodeSyncProfiles(const Data& data);

} // namespace velto
