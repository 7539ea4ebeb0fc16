// AudioPreset: a saved setup of two outputs, with the settings that went with them.
#pragma once

#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/CoreAudio/AudioTransportType.h"
#include "VeltoCore/Foundation/Data.h"
#include "VeltoCore/Foundation/Date.h"
#include "VeltoCore/Foundation/DecodingError.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Volume/DeviceAudioSettings.h"

#include <array>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

struct AudioPreset {
    /// A device as it was when the preset was saved. Only the UID finds it again.
    struct DeviceReference {
        std::string uid;
        std::string name;
        AudioTransportType transportType{};

        static DeviceReference to(const AudioOutputDevice& device);
        friend bool operator==(const DeviceReference&, const DeviceReference&) = default;
    };

    /// The name of the preset that remembers the pair played last; hidden from the user's lists.
    static constexpr std::string_view lastUsedName = "Last Used";

    UUID id;
    std::string name;
    DeviceReference first;
    DeviceReference second;
    Date createdAt;
    /// The last save.
    Date updatedAt = createdAt;
    /// By device UID.
    std::map<std::string, DeviceAudioSettings> deviceSettings{};
    /// From 0 to 1; absent when the pair supported none.
    std::optional<float> masterVolume = std::nullopt;
    /// Starts by itself once all of its outputs are connected.
    bool autoConnect = false;
    bool isFavorite = false;

    /// A preset with a fresh identity and no settings.
    static AudioPreset create(std::string name, const AudioOutputDevice& first,
                              const AudioOutputDevice& second, Date createdAt);

    /// The first output's, then the second's.
    std::array<std::string, 2> deviceUIDs() const { return {first.uid, second.uid}; }
    std::string displayName() const { return first.name + " + " + second.name; }
    bool isLastUsed() const noexcept { return name == lastUsedName; }

    using ResolvedDevices = std::pair<std::optional<AudioOutputDevice>, std::optional<AudioOutputDevice>>;
    /// The preset's two outputs among the devices, each absent when it isn't there.
    ResolvedDevices resolve(const std::vector<AudioOutputDevice>& devices) const;

    friend bool operator==(const AudioPreset&, const AudioPreset&) = default;
};

/// The list as a JSON array; none when it can't be expressed (a number in it is not finite).
std::optional<Data> encodePresets(const std::vector<AudioPreset>& presets);
/// One bad element fails the whole list.
std::expected<std::vector<AudioPreset>, DecodingError> decodePresets(const Data& data);

} // namespace velto
