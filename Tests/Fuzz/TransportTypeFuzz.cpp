#include "Tests/Fuzz/FuzzTarget.h"

#include "VeltoCore/CoreAudio/AudioTransportType.h"
#include "VeltoCore/Settings/AudioPreset.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace velto {

/// A transport is only ever stored as part of a preset.
static Data presetsWithTransport(std::string_view text) {
    const std::string presets = R"([{"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","name":"","createdAt":0,)"
                                R"("first":{"uid":"","name":"","transportType":{"usb":{}}},)"
                                R"("second":{"uid":"","name":"","transportType":)" +
                                std::string(text) + "}}]";
    return Data(presets.begin(), presets.end());
}

static void fuzzTransportCode(std::uint32_t code) {
    const AudioTransportType type(code);
    require(!type.displayName().empty() && !type.symbolName().empty());
    require(AudioTransportType::fromStoredName(type.storedName(), type.unknownCode()) == type);
}

void fuzz(std::string_view text) {
    requireReadsBack(presetsWithTransport(text), decodePresets, encodePresets);
    std::uint32_t code = 0;
    if (text.size() < sizeof code) return;
    std::memcpy(&code, text.data(), sizeof code);
    fuzzTransportCode(code);
}

} // namespace velto
