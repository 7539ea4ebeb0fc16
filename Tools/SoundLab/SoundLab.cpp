#include "Tools/SoundLab/SoundLab.h"

#include "Platform/Linux/Delay/AudioThread.h"

#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "Platform/Linux/PipeWire/PipeWireText.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace velto {

namespace {

VirtualOutput output(std::string name, std::string description,
                     std::map<std::string, std::string> properties) {
    return {std::move(name), std::move(description), std::move(properties)};
}

/// The channels in "[ FL FR ]", or as many as there are by default.
int channelCount(const VirtualOutput& output) {
    const auto position = output.properties.find("audio.position");
    if (position == output.properties.end()) return 2;
    std::istringstream words(position->second);
    return static_cast<int>(
        std::count_if(std::istream_iterator<std::string>(words), {},
                      [](const std::string& word) { return word != "[" && word != "]"; }));
}

} // namespace

VirtualOutput VirtualOutput::builtIn(std::string name, std::string description) {
    return output(std::move(name), std::move(description),
                  {{"device.bus", "pci"},
                   {"device.api", "alsa"},
                   {"device.vendor.name", "Acme"},
                   {"audio.rate", "48000"},
                   {"priority.session", "1000"}});
}

VirtualOutput VirtualOutput::usb(std::string name, std::string description) {
    return output(std::move(name), std::move(description),
                  {{"device.bus", "usb"},
                   {"device.api", "alsa"},
                   {"device.vendor.name", "Acme"},
                   {"audio.rate", "96000"},
                   {"priority.session", "900"}});
}

VirtualOutput VirtualOutput::bluetooth(std::string name, std::string description) {
    return output(std::move(name), std::move(description),
                  {{"device.bus", "bluetooth"},
                   {"device.api", "bluez5"},
                   {"audio.rate", "48000"},
                   {"priority.session", "800"}});
}

VirtualOutput VirtualOutput::hdmi(std::string name, std::string description) {
    return output(std::move(name), std::move(description),
                  {{"device.bus", "pci"},
                   {"device.api", "alsa"},
                   {"device.profile.name", "hdmi-stereo"},
                   {"audio.rate", "44100"},
                   {"priority.session", "700"}});
}

SoundLab::SoundLab(const std::string& socket) : graph_([this] { changed(); }) {
    pw_init(nullptr, nullptr);
    loop_ = pw_thread_loop_new("sound-lab", nullptr);
    context_ = pw_context_new(pw_thread_loop_get_loop(loop_), nullptr, 0);
    core_ = pw_context_connect(context_, pw_properties_new(PW_KEY_REMOTE_NAME, socket.c_str(), nullptr), 0);
    if (!core_) {
        close();
        throw std::runtime_error("The sound lab can't connect to the server at " + socket);
    }
    registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
    graph_.attach(core_, registry_);
    pw_thread_loop_start(loop_);
    if (waitUntil([this] { return graph_.settingsMetadata() && graph_.defaultMetadata(); },
                  std::chrono::seconds(10)))
        return;
    close();
    throw std::runtime_error("The session manager of the private sound server did not come up");
}

SoundLab::~SoundLab() { close(); }

void SoundLab::close() {
    if (core_) {
        const Lock lock(*this);
        graph_.detach();
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
        pw_core_disconnect(core_);
    }
    pw_thread_loop_stop(loop_);
    stopAudioThread(context_);
    pw_context_destroy(context_);
    pw_thread_loop_destroy(loop_);
    pw_deinit();
}

void SoundLab::changed() {
    if (onChange_) onChange_();
    pw_thread_loop_signal(loop_, false);
}

void SoundLab::onChange(std::function<void()> handler) {
    const Lock lock(*this);
    onChange_ = std::move(handler);
    if (onChange_) onChange_();
}

bool SoundLab::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
    const Lock lock(*this);
    timespec deadline{};
    pw_thread_loop_get_time(loop_, &deadline, std::chrono::nanoseconds(timeout).count());
    while (!condition())
        if (pw_thread_loop_timed_wait_full(loop_, &deadline) != 0) return condition();
    return true;
}

std::int64_t SoundLab::plug(const VirtualOutput& output) {
    pw_proxy* proxy = nullptr;
    {
        const Lock lock(*this);
        pw_properties* properties = pw_properties_new(
            "factory.name", "support.null-audio-sink", PW_KEY_MEDIA_CLASS, "Audio/Sink", PW_KEY_OBJECT_LINGER,
            "true", "monitor.channel-volumes", "true", "audio.position", "[ FL FR ]", nullptr);
        pw_properties_set(properties, PW_KEY_NODE_NAME, PipeWireText::toServer(output.name).c_str());
        pw_properties_set(properties, PW_KEY_NODE_DESCRIPTION, output.description.c_str());
        for (const auto& [key, value] : output.properties)
            pw_properties_set(properties, key.c_str(), value.c_str());
        proxy = static_cast<pw_proxy*>(pw_core_create_object(core_, "adapter", PW_TYPE_INTERFACE_Node,
                                                             PW_VERSION_NODE, &properties->dict, 0));
        pw_properties_free(properties);
    }
    std::int64_t readyAt = 0;
    const bool isThere = waitUntil([&] {
        const PipeWireNode* node = graph_.device(output.name);
        readyAt = monotonicNow();
        if (!node) return false;
        // A sink has a monitor port beside each of its own.
        const auto wanted = static_cast<std::size_t>(channelCount(output)) * (node->isSink() ? 2 : 1);
        return graph_.ports(node->globalID()).size() >= wanted;
    });
    {
        // The node lingers, but only a finished one outlives the proxy that asked for it.
        const Lock lock(*this);
        pw_proxy_destroy(proxy);
    }
    if (!isThere) throw std::runtime_error("The output " + output.name + " did not appear");
    return readyAt;
}

std::int64_t SoundLab::unplug(const std::string& name) {
    const std::int64_t asked = monotonicNow();
    AudioObjectID objectID = kAudioObjectUnknown;
    {
        const Lock lock(*this);
        const PipeWireNode* node = graph_.device(name);
        if (!node) throw std::runtime_error("The output " + name + " is not there");
        objectID = node->objectID();
        pw_registry_destroy(registry_, node->globalID());
    }
    if (!waitUntil([&] { return !graph_.device(objectID); }))
        throw std::runtime_error("The output " + name + " did not go");
    return asked;
}

void SoundLab::askForDefault(const std::string& name) {
    const Lock lock(*this);
    if (PipeWireMetadata* metadata = graph_.defaultMetadata())
        metadata->setName(PipeWireKey::configuredSink, name);
}

void SoundLab::pickDefault(const std::string& name) {
    askForDefault(name);
    if (!waitForDefault(name))
        throw std::runtime_error("The output " + name + " did not become the default; that is \"" +
                                 defaultOutput() + "\", and asked for is " +
                                 defaultMetadata(PipeWireKey::configuredSink).value_or("?"));
}

void SoundLab::setChannelVolumes(const std::string& name, float volume) {
    const Lock lock(*this);
    PipeWireNode* node = graph_.device(name);
    if (!node) throw std::runtime_error("The output " + name + " is not there");
    node->setChannelVolumes(std::vector<float>(node->channelVolumes().size(), volume));
}

void SoundLab::refresh() {
    bool isAnswered = false;
    {
        const Lock lock(*this);
        graph_.refreshDefaultMetadata([&] { isAnswered = true; });
    }
    waitUntil([&] { return isAnswered; });
}

float SoundLab::channelVolume(const std::string& name) {
    const Lock lock(*this);
    const PipeWireNode* node = graph_.device(name);
    return node && !node->channelVolumes().empty() ? std::ranges::max(node->channelVolumes()) : 0;
}

std::string SoundLab::defaultOutput() {
    const Lock lock(*this);
    const PipeWireMetadata* metadata = graph_.defaultMetadata();
    return metadata ? metadata->name(PipeWireKey::defaultSink).value_or("") : "";
}

bool SoundLab::waitForDefault(const std::string& name) {
    return waitUntil([&] { return defaultOutput() == name; });
}

std::optional<std::string> SoundLab::defaultMetadata(const std::string& key) {
    const Lock lock(*this);
    const PipeWireMetadata* metadata = graph_.defaultMetadata();
    return metadata ? metadata->value(key) : std::nullopt;
}

std::optional<std::string> SoundLab::settingsMetadata(const std::string& key) {
    const Lock lock(*this);
    const PipeWireMetadata* metadata = graph_.settingsMetadata();
    return metadata ? metadata->value(key) : std::nullopt;
}

bool SoundLab::exists(const std::string& name) {
    const Lock lock(*this);
    return graph_.device(name) != nullptr;
}

int SoundLab::linkCount(const std::string& from, const std::string& to) {
    const Lock lock(*this);
    const PipeWireNode* source = graph_.device(from);
    const PipeWireNode* target = graph_.device(to);
    if (!source || !target) return 0;
    return static_cast<int>(std::ranges::count_if(graph_.links(), [&](const auto& entry) {
        return entry.second.outputNode == source->globalID() && entry.second.inputNode == target->globalID();
    }));
}

std::int64_t monotonicNow() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

} // namespace velto
