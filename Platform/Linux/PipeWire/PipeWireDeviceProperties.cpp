#include "Platform/Linux/PipeWire/PipeWireDeviceProperties.h"

#include "Platform/Linux/PipeWire/PipeWireAggregates.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <vector>

namespace velto::PipeWireDeviceProperties {

namespace {

constexpr std::string_view impostorUID = "com.corlent.velto.aggregate (another program's)";

/// The node's property, else its card's.
std::string_view anyProperty(const PipeWireGraph& graph, const PipeWireNode& node, std::string_view key) {
    if (const auto own = property(node.properties(), key)) return *own;
    const PipeWireDevice* card = graph.card(node);
    return card ? property(card->properties(), key).value_or("") : "";
}

std::string lowerCased(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](unsigned char c) { return std::tolower(c); });
    return result;
}

/// A display on the other end of a built-in card's digital output; 0 when it isn't one.
std::uint32_t displayTransport(const PipeWireGraph& graph, const PipeWireNode& node) {
    const std::string profile =
        lowerCased(std::string(anyProperty(graph, node, "device.profile.name")) + " " +
                   std::string(anyProperty(graph, node, "device.profile.description")) + " " +
                   std::string(anyProperty(graph, node, "api.alsa.path")));
    if (profile.find("displayport") != std::string::npos) return kAudioDeviceTransportTypeDisplayPort;
    return profile.find("hdmi") != std::string::npos ? kAudioDeviceTransportTypeHDMI : 0;
}

/// The profile device whose route carries the node's volume; none where the node has its own.
std::optional<uint32_t> routedProfileDevice(const PipeWireDevice* card, const PipeWireNode& node) {
    const auto profileDevice = numberProperty(node.properties(), "card.profile.device");
    return card && profileDevice && card->hasRoute(*profileDevice) ? profileDevice : std::nullopt;
}

} // namespace

std::string uid(const PipeWireNode& node) {
    const bool isImpostor =
        node.name() == AggregateDeviceManager::aggregateUID && !PipeWireAggregates::isAggregate(node);
    return isImpostor ? std::string(impostorUID) : node.name();
}

const PipeWireNode* device(const PipeWireGraph& graph, std::string_view forUID) {
    const PipeWireNode* node =
        graph.device(forUID == impostorUID ? AggregateDeviceManager::aggregateUID : forUID);
    return node && uid(*node) == forUID ? node : nullptr;
}

std::uint32_t transportType(const PipeWireGraph& graph, const PipeWireNode& node) {
    if (PipeWireAggregates::isAggregate(node)) return kAudioDeviceTransportTypeAggregate;
    const std::string_view bus = anyProperty(graph, node, PW_KEY_DEVICE_BUS);
    const std::string_view api = anyProperty(graph, node, PW_KEY_DEVICE_API);
    if (api == "bluez5" || bus == "bluetooth") return kAudioDeviceTransportTypeBluetooth;
    if (bus == "usb") return kAudioDeviceTransportTypeUSB;
    if (bus == "firewire") return kAudioDeviceTransportTypeFireWire;
    if (bus == "thunderbolt") return kAudioDeviceTransportTypeThunderbolt;
    if (const std::uint32_t display = displayTransport(graph, node)) return display;
    if (bus == "pci" || bus == "platform" || api == "alsa") return kAudioDeviceTransportTypeBuiltIn;
    if (property(node.properties(), "raop.ip")) return kAudioDeviceTransportTypeAirPlay;
    const bool isVirtual = property(node.properties(), PW_KEY_NODE_VIRTUAL) == "true" ||
                           property(node.properties(), PW_KEY_FACTORY_NAME) == "support.null-audio-sink";
    return isVirtual ? kAudioDeviceTransportTypeVirtual : 0;
}

std::optional<std::string> manufacturer(const PipeWireGraph& graph, const PipeWireNode& node) {
    const std::string_view vendor = anyProperty(graph, node, PW_KEY_DEVICE_VENDOR_NAME);
    return vendor.empty() ? std::nullopt : std::optional(std::string(vendor));
}

std::optional<std::int64_t> latencyFrames(const PipeWireGraph& graph, const PipeWireNode& node,
                                          double sampleRate, std::int64_t quantum) {
    double most = 0;
    for (const PipeWirePort* port : graph.ports(node.globalID())) {
        if (!port->isInput()) continue;
        const spa_latency_info& latency = port->latency();
        const double frames = static_cast<double>(latency.min_ns) * sampleRate / 1e9 + latency.min_rate +
                              static_cast<double>(latency.min_quantum) * static_cast<double>(quantum);
        if (std::isfinite(frames)) most = std::max(most, frames);
    }
    if (most <= 0 || most > 1e12) return std::nullopt;
    return std::llround(most);
}

std::int64_t outputChannelCount(const PipeWireGraph& graph, const PipeWireNode& node) {
    if (!node.isSink()) return 0;
    const auto ports = graph.ports(node.globalID());
    const auto inputs = std::ranges::count_if(
        ports, [](const PipeWirePort* port) { return port->isInput() && port->isAudio(); });
    return inputs > 0 ? inputs : std::int64_t{node.offeredChannels()};
}

std::optional<float> scalarVolume(const PipeWireNode& node) {
    if (!node.isSink() || node.channelVolumes().empty()) return std::nullopt;
    // The server's volumes are linear; people expect the cubic scale of every mixer on this system.
    const float loudest = std::cbrt(std::ranges::max(node.channelVolumes()));
    return std::isfinite(loudest) ? std::max(loudest, 0.0F) : 0.0F;
}

void setScalarVolume(const PipeWireGraph& graph, PipeWireNode& node, float volume) {
    const std::vector<float> volumes(node.channelVolumes().size(), volume * volume * volume);
    PipeWireDevice* card = graph.card(node);
    if (const auto profileDevice = routedProfileDevice(card, node)) {
        card->setRouteVolumes(*profileDevice, volumes);
    } else {
        node.setChannelVolumes(volumes);
    }
}

void setMute(const PipeWireGraph& graph, PipeWireNode& node, bool isMuted) {
    PipeWireDevice* card = graph.card(node);
    if (const auto profileDevice = routedProfileDevice(card, node)) {
        card->setRouteMute(*profileDevice, isMuted);
    } else {
        node.setMute(isMuted);
    }
}

} // namespace velto::PipeWireDeviceProperties
