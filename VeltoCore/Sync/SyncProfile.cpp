#include "VeltoCore/Sync/SyncProfile.h"

#include "VeltoCore/Foundation/JSONReading.h"
#include "VeltoCore/Foundation/JSONWriting.h"

#include <algorithm>
#include <array>
#include <utility>

namespace velto {

namespace {

/// In the order of the cases.
constexpr std::array<std::string_view, 3> kindNames{"estimated", "measured", "manual"};

} // namespace

SyncProfile::SyncProfile(std::vector<std::string> deviceUIDs, std::string referenceUID,
                         std::map<std::string, double> corrections, Kind kind, Date updatedAt)
    : id(key(deviceUIDs)), deviceUIDs(std::move(deviceUIDs)), referenceUID(std::move(referenceUID)),
      corrections(std::move(corrections)), kind(kind), updatedAt(updatedAt) {}

std::string SyncProfile::key(std::vector<std::string> forDeviceUIDs) {
    std::ranges::sort(forDeviceUIDs);
    std::string result;
    for (const std::string& uid : forDeviceUIDs) {
        if (&uid != &forDeviceUIDs.front()) result += '|';
        result += uid;
    }
    return result;
}

double SyncProfile::correction(const std::string& forUID) const {
    const auto found = corrections.find(forUID);
    return found == corrections.end() ? 0.0 : found->second;
}

bool SyncProfile::hasCorrections() const noexcept {
    return std::ranges::any_of(corrections, [](const auto& entry) { return entry.second != 0.0; });
}

std::string_view rawValue(SyncProfile::Kind kind) noexcept {
    return kindNames[static_cast<std::size_t>(kind)];
}

std::optional<SyncProfile::Kind> syncProfileKind(std::string_view rawValue) noexcept {
    const auto name = std::ranges::find(kindNames, rawValue);
    if (name == kindNames.end()) return std::nullopt;
    return static_cast<SyncProfile::Kind>(name - kindNames.begin());
}

static void writeJSON(json::Writer& writer, SyncProfile::Kind kind) { writer.text(rawValue(kind)); }

static json::Result<SyncProfile::Kind> readJSON(const json::Value& value,
                                                std::type_identity<SyncProfile::Kind>) {
    const auto* text = value.as<std::string>();
    const auto kind = text ? syncProfileKind(*text) : std::nullopt;
    if (!kind) return json::failure("Expected a kind of sync profile.");
    return *kind;
}

static void writeJSON(json::Writer& writer, const SyncProfile& profile) {
    writer.object([&] {
        writer.field("id", profile.id);
        writer.field("deviceUIDs", profile.deviceUIDs);
        writer.field("referenceUID", profile.referenceUID);
        writer.field("corrections", profile.corrections);
        writer.field("kind", profile.kind);
        writer.field("updatedAt", profile.updatedAt);
    });
}

static json::Result<SyncProfile> readJSON(const json::Value& value, std::type_identity<SyncProfile>) {
    using Corrections = std::map<std::string, double>;
    json::ObjectReader object(value);
    SyncProfile profile(object.required<std::vector<std::string>>("deviceUIDs"),
                        object.required<std::string>("referenceUID"),
                        object.required<Corrections>("corrections"),
                        object.required<SyncProfile::Kind>("kind"), object.required<Date>("updatedAt"));
    profile.id = object.required<std::string>("id");
    return object.result(std::move(profile));
}

std::optional<Data> encodeSyncProfiles(const std::vector<SyncProfile>& profiles) {
    return json::encode(profiles);
}

std::expected<std::vector<SyncProfile>, DecodingError> decodeSyncProfiles(const Data& data) {
    return json::decode<std::vector<SyncProfile>>(data);
}

} // namespace velto
