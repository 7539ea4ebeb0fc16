#include "Velto/Shell/DeviceIconProvider.h"

#include <algorithm>
#include <array>
#include <string>

namespace velto {

namespace {

struct NameRule {
    std::string_view part;
    std::string_view symbolName;
};

/// The first match counts.
constexpr std::array nameRules{NameRule{"airpods max", "airpodsmax"}, NameRule{"airpods pro", "airpodspro"},
                               NameRule{"airpods", "airpods"},        NameRule{"beats", "headphones"},
                               NameRule{"headphone", "headphones"},   NameRule{"homepod", "homepod"},
                               NameRule{"display", "display"},        NameRule{"monitor", "display"}};

constexpr std::array speakerNames{"speaker", "jbl", "flip"};

/// Letters beyond ASCII stay: no rule has any.
std::string lowerCased(std::string_view text) {
    std::string result(text);
    for (char& letter : result) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return result;
}

std::string_view symbolName(AudioTransportType transport, const std::string& name) {
    using Kind = AudioTransportType::Kind;
    const auto isPartOfName = [&](std::string_view part) { return name.find(part) != std::string::npos; };
    switch (transport.kind()) {
    case Kind::builtIn:
        return "laptopcomputer";
    case Kind::aggregate:
    case Kind::autoAggregate:
        return "hifispeaker.2";
    case Kind::virtualDevice:
        return "waveform";
    case Kind::usb:
        return "wave.3.right";
    case Kind::bluetooth:
    case Kind::bluetoothLE:
        return std::ranges::any_of(speakerNames, isPartOfName) ? "hifispeaker" : "headphones";
    case Kind::hdmi:
    case Kind::displayPort:
        return "display";
    case Kind::airPlay:
        return "airplayaudio";
    default:
        return "speaker.wave.2";
    }
}

} // namespace

std::string_view DeviceIconProvider::symbolName(const AudioOutputDevice& forDevice) {
    const std::string name = lowerCased(forDevice.name);
    for (const NameRule& rule : nameRules) {
        if (name.find(rule.part) != std::string::npos) return rule.symbolName;
    }
    return velto::symbolName(forDevice.transportType, name);
}

} // namespace velto
