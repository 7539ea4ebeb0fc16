#include "VeltoCore/Settings/AudioPreset.h"

#include "VeltoCore/Foundation/JSONReading.h"
#include "VeltoCore/Foundation/JSONWriting.h"

#include <algorithm>

namespace velto {

namespace {

/// The key that holds an unknown transport's code.
constexpr std::string_view transportCodeKey = "_0";

std::optional<AudioOutputDevice> find(const std::vector<AudioOutputDevice>& devices, const std::string& uid) {
    const auto found = std::ranges::find(devices, uid, &AudioOutputDevice::uid);
    return found == devices.end() ? std::nullopt : std::optional(*found);
}

} // namespace

AudioPreset::DeviceReference AudioPreset::DeviceReference::to(const AudioOutputDevice& device) {
    return {.uid = device.uid, .name = device.name, .transportType = device.transportType};
}

AudioPreset AudioPreset::create(std::string name, const AudioOutputDevice& first,
                                const AudioOutputDevice& second, Date createdAt) {
    return {.id = UUID::random(),
            .name = std::move(name),
            .first = DeviceReference::to(first),
            .second = DeviceReference::to(second),
            .createdAt = createdAt};
}

AudioPreset::ResolvedDevices AudioPreset::resolve(const std::vector<AudioOutputDevice>& devices) const {
    return {find(devices, first.uid), find(devices, second.uid)};
}

// The transport is an object with the kind's name as its only key. Its value is empty but for an unknown
// transport, whose code it holds.
static void writeJSON(json::Writer& writer, const AudioTransportType& transport) {
    writer.object([&] {
        const std::string_view name = transport.storedName();
        std::map<std::string, std::uint32_t> payload;
        if (transport.kind() == AudioTransportType::Kind::unknown)
            payload.emplace(transportCodeKey, transport.unknownCode());
        writer.field(name, payload);
    });
}

static json::Result<AudioTransportType> readJSON(const json::Value& value,
                                                 std::type_identity<AudioTransportType>) {
    const auto* entries = value.as<json::Object>();
    if (!entries) return json::failure("Expected an object.");
    if (entries->size() != 1) return json::failure("Invalid number of keys found, expected one.");
    const auto& [name, payload] = entries->front();
    json::ObjectReader object(payload);
    const bool isUnknown = name == AudioTransportType(AudioTransportType::Kind::unknown).storedName();
    const auto code = isUnknown ? object.required<std::uint32_t>(transportCodeKey) : 0;
    const auto transport = AudioTransportType::fromStoredName(name, code);
    if (!transport) return json::failure("Unknown transport type.");
    return object.result(*transport);
}

static void writeJSON(json::Writer& writer, const AudioPreset::DeviceReference& reference) {
    writer.object([&] {
        writer.field("uid", reference.uid);
        writer.field("name", reference.name);
        writer.field("transportType", reference.transportType);
    });
}

static json::Result<AudioPreset::DeviceReference> readJSON(const json::Value& value,
                                                           std::type_identity<AudioPreset::DeviceReference>) {
    json::ObjectReader object(value);
    return object.result(AudioPreset::DeviceReference{
        .uid = object.required<std::string>("uid"),
        .name = object.required<std::string>("name"),
        .transportType = object.required<AudioTransportType>("transportType"),
    });
}

static void writeJSON(json::Writer& writer, const DeviceAudioSettings& settings) {
    writer.object([&] {
        writer.field("volume", settings.volume);
        writer.field("isMuted", settings.isMuted);
        writer.field("delayMilliseconds", settings.delayMilliseconds);
    });
}

static json::Result<DeviceAudioSettings> readJSON(const json::Value& value,
                                                  std::type_identity<DeviceAudioSettings>) {
    json::ObjectReader object(value);
    return object.result(DeviceAudioSettings{
        .volume = object.optional<float>("volume"),
        .isMuted = object.optional<bool>("isMuted"),
        .delayMilliseconds = object.optional<double>("delayMilliseconds"),
    });
}

static void writeJSON(json::Writer& writer, const AudioPreset& preset) {
    writer.object([&] {
        writer.field("id", preset.id);
        writer.field("name", preset.name);
        writer.field("first", preset.first);
        writer.field("second", preset.second);
        writer.field("createdAt", preset.createdAt);
        writer.field("updatedAt", preset.updatedAt);
        writer.field("deviceSettings", preset.deviceSettings);
        writer.field("masterVolume", preset.masterVolume);
        writer.field("autoConnect", preset.autoConnect);
        writer.field("isFavorite", preset.isFavorite);
    });
}

// The fields from "updatedAt" on came later: lists without them still load.
static json::Result<AudioPreset> readJSON(const json::Value& value, std::type_identity<AudioPreset>) {
    using Reference = AudioPreset::DeviceReference;
    using Settings = std::map<std::string, DeviceAudioSettings>;
    json::ObjectReader object(value);
    const Date createdAt = object.required<Date>("createdAt");
    return object.result(AudioPreset{
        .id = object.required<UUID>("id"),
        .name = object.required<std::string>("name"),
        .first = object.required<Reference>("first"),
        .second = object.required<Reference>("second"),
        .createdAt = createdAt,
        .updatedAt = object.optional<Date>("updatedAt").value_or(createdAt),
        .deviceSettings = object.optional<Settings>("deviceSettings").value_or(Settings{}),
        .masterVolume = object.optional<float>("masterVolume"),
        .autoConnect = object.optional<bool>("autoConnect").value_or(false),
        .isFavorite = object.optional<bool>("isFavorite").value_or(false),
    });
}

std::optional<Data> encodePresets(const std::vector<AudioPreset>& presets) { return json::encode(presets); }

std::expected<std::vector<AudioPreset>, DecodingError> decodePresets(const Data& data) {
    return json::decode<std::vector<AudioPreset>>(data);
}

} // namespace velto
