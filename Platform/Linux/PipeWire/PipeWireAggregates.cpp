#include "Platform/Linux/PipeWire/PipeWireAggregates.h"

#include "Platform/Linux/PipeWire/PipeWireComposition.h"
#include "Platform/Linux/PipeWire/PipeWireFailure.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstring>
#include <utility>

namespace velto {

namespace {

/// How long a returning output may take to be linked before it is shown unlinked. It takes about 2 ms.
constexpr std::chrono::milliseconds joiningGrace{500};

/// Strays after which nothing is linked any more: the server confuses an output with another object.
constexpr int mostStrays = 8;
/// Above what the session manager gives outputs of hardware (up to 1509), below its inputs (from 1900).
constexpr std::int64_t usualPriority = 1600;

/// The priority with which the session manager makes the aggregate the default output where nobody has chosen
/// one, without being told a choice that it would remember for good. It also takes the monitors of outputs
/// for inputs, so the aggregate's has to stay below the best real one. None where that can't be had.
std::optional<std::int64_t> sessionPriority(const PipeWireGraph& graph) {
    std::int64_t highestOutput = 0;
    std::optional<std::int64_t> bestInput;
    for (const PipeWireNode* node : graph.devices()) {
        const std::int64_t priority = numberProperty(node->properties(), PW_KEY_PRIORITY_SESSION).value_or(0);
        if (node->isSink()) {
            highestOutput = std::max(highestOutput, priority);
        } else {
            bestInput = std::max(bestInput.value_or(0), priority);
        }
    }
    std::int64_t priority = std::max(usualPriority, highestOutput + 1);
    if (bestInput && priority >= *bestInput) priority = *bestInput - 1;
    return priority > highestOutput ? std::optional(priority) : std::nullopt;
}

pw_properties* sinkProperties(const AggregateDeviceDescription& description,
                              std::optional<std::int64_t> priority) {
    // The aggregate's own volume makes no difference to the sound: each output has its own.
    // The session manager's rule that suspends idle nodes crashes it when the node has just gone; idle, this
    // node costs no more than suspended. A desktop's mixer lists a sink as hardware if it has a device's API.
    // The session manager remembers the volume of nodes whose device has no routes, but this one's is that of
    // its outputs as they are.
    pw_properties* properties = pw_properties_new(
        "factory.name", "support.null-audio-sink", PW_KEY_MEDIA_CLASS, "Audio/Sink", PW_KEY_OBJECT_LINGER,
        "true", PW_KEY_NODE_VIRTUAL, "true", PW_KEY_DEVICE_API, "velto", "monitor.channel-volumes", "false",
        "session.suspend-timeout-seconds", "0", "device.routes", "1", "audio.position", "[ FL FR ]", nullptr);
    if (priority) pw_properties_setf(properties, PW_KEY_PRIORITY_SESSION, "%" PRId64, *priority);
    pw_properties_set(properties, PW_KEY_NODE_NAME, description.uid.c_str());
    pw_properties_set(properties, PW_KEY_NODE_DESCRIPTION, description.name.c_str());
    pw_properties_set(properties, PipeWireKey::composition, PipeWireComposition::text(description).c_str());
    return properties;
}

pw_properties* linkProperties(const PipeWireNode& from, const PipeWirePort& output, const PipeWireNode& to,
                              const PipeWirePort& input) {
    return pw_properties_new(PW_KEY_OBJECT_LINGER, "true", PW_KEY_LINK_PASSIVE, "true", PW_KEY_OBJECT_PATH,
                             PipeWireKey::link, PW_KEY_LINK_OUTPUT_NODE, from.name().c_str(),
                             PW_KEY_LINK_OUTPUT_PORT, output.alias().c_str(), PW_KEY_LINK_INPUT_NODE,
                             to.name().c_str(), PW_KEY_LINK_INPUT_PORT, input.alias().c_str(), nullptr);
}

std::vector<const PipeWirePort*> audioPorts(const PipeWireGraph& graph, const PipeWireNode& node,
                                            bool (*isWanted)(const PipeWirePort&)) {
    std::vector<const PipeWirePort*> result = graph.ports(node.globalID());
    std::erase_if(result, [&](const PipeWirePort* port) { return !port->isAudio() || !isWanted(*port); });
    return result;
}

} // namespace

/// An object that the server was asked to create, until it is seen or refused.
struct PipeWireAggregates::Request {
    pw_proxy* proxy = nullptr;
    spa_hook hook{};
    bool isOver = false;
    std::string refusal;

    static void removed(void* data) { static_cast<Request*>(data)->isOver = true; }
    static void error(void* data, int, int, const char* message) {
        auto& request = *static_cast<Request*>(data);
        request.isOver = true;
        request.refusal = message ? message : "unknown error";
    }
    static constexpr pw_proxy_events events = [] {
        pw_proxy_events table{};
        table.version = PW_VERSION_PROXY_EVENTS;
        table.removed = removed;
        table.error = error;
        return table;
    }();

    Request(pw_core* core, const char* factory, const char* type, uint32_t version,
            pw_properties* properties) {
        proxy =
            static_cast<pw_proxy*>(pw_core_create_object(core, factory, type, version, &properties->dict, 0));
        pw_properties_free(properties);
        if (proxy) pw_proxy_add_listener(proxy, &hook, &events, this);
        isOver = !proxy;
    }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;
    // The object itself stays: it lingers.
    ~Request() {
        if (!proxy) return;
        spa_hook_remove(&hook);
        pw_proxy_destroy(proxy);
    }
};

PipeWireAggregates::PipeWireAggregates(MainActor& actor, PipeWireConnection& connection, PipeWireGraph& graph,
                                       std::function<void()> changed)
    : actor_(actor), connection_(connection), graph_(graph), changed_(std::move(changed)) {}

PipeWireAggregates::~PipeWireAggregates() { forget(); }

AudioObjectID PipeWireAggregates::create(const AggregateDeviceDescription& description) {
    const std::string label = "CreateAggregateDevice " + description.uid;
    if (givenUp_.contains(description.uid))
        connection_.waitUntil([&] { return !graph_.device(description.uid); }); // it is on its way out
    if (const PipeWireNode* other = graph_.device(description.uid)) {
        if (isAggregate(*other)) failPipeWireCall(kAudioHardwareIllegalOperationError, label);
        throw AudioManagerError::aggregateCreationFailed(
            "Another program's output has the name that Velto needs, \"" + description.uid + "\".");
    }

    kept_.insert_or_assign(description.uid, description);
    givenUp_.erase(description.uid);
    strayCount_ = 0;
    const Request sink(connection_.core(), "adapter", PW_TYPE_INTERFACE_Node, PW_VERSION_NODE,
                       sinkProperties(description, sessionPriority(graph_)));
    connection_.waitUntil([&] { return isComplete(description) || !sink.refusal.empty(); });
    if (isComplete(description)) return graph_.device(description.uid)->objectID();

    kept_.erase(description.uid);
    givenUp_.insert(description.uid);
    if (connection_.isSilent()) failPipeWireCall(kAudioHardwareNotRunningError, label);
    LoggingService::audioDevices.error("The sound server did not build the aggregate: {}",
                                       sink.refusal.empty() ? "it is not whole in time" : sink.refusal);
    removeLateAggregates();
    connection_.waitUntil([&] { return !graph_.device(description.uid); });
    failPipeWireCall(kAudioHardwareNotReadyError, label);
}

void PipeWireAggregates::destroy(const PipeWireNode& aggregate) {
    const AudioObjectID objectID = aggregate.objectID();
    kept_.erase(aggregate.name());
    pw_registry_destroy(connection_.registry(), aggregate.globalID());
    if (connection_.waitUntil([&] { return !graph_.device(objectID); })) return;
    failPipeWireCall(connection_.isSilent() ? kAudioHardwareNotRunningError : kAudioHardwareNotReadyError,
                     "DestroyAggregateDevice " + std::to_string(objectID));
}

const PipeWireNode* PipeWireAggregates::existing() const {
    const auto devices = graph_.devices();
    const auto found =
        std::ranges::find_if(devices, [](const PipeWireNode* node) { return isAggregate(*node); });
    return found == devices.end() ? nullptr : *found;
}

bool PipeWireAggregates::isAggregate(const PipeWireNode& node) {
    return property(node.properties(), PipeWireKey::composition).has_value();
}

std::optional<AggregateDeviceDescription> PipeWireAggregates::description(const PipeWireNode& node) {
    const auto text = property(node.properties(), PipeWireKey::composition);
    if (!text) return std::nullopt;
    AggregateDeviceDescription result = PipeWireComposition::read(*text);
    result.uid = node.name();
    result.name = node.displayName();
    return result;
}

std::vector<const PipeWireNode*> PipeWireAggregates::activeSubDevices(const PipeWireNode& aggregate) const {
    std::vector<const PipeWireNode*> result;
    const auto composition = description(aggregate);
    if (!composition) return result;
    for (const auto& subDevice : composition->subDevices) {
        const PipeWireNode* output = graph_.device(subDevice.uid);
        if (output && isLinked(aggregate, *output)) result.push_back(output);
    }
    return result;
}

bool PipeWireAggregates::isJoining(const PipeWireNode& node) const {
    const auto found = joining_.find(node.objectID());
    return found != joining_.end() && found->second.has_value();
}

std::vector<PipeWireAggregates::PortPair> PipeWireAggregates::portPairs(const PipeWireNode& aggregate,
                                                                        const PipeWireNode& output) const {
    const auto monitors =
        audioPorts(graph_, aggregate, [](const PipeWirePort& port) { return port.isMonitor(); });
    const auto inputs = audioPorts(graph_, output, [](const PipeWirePort& port) { return port.isInput(); });
    std::vector<PortPair> result;
    if (monitors.size() < 2) return result; // an aggregate is stereo, but its ports appear one by one
    // So do an output's: what each is for must be told from itself, not from how many there are.
    for (const PipeWirePort* monitor : monitors) {
        for (const PipeWirePort* input : inputs) {
            const std::string& channel = input->channel();
            const bool isUnnamed = channel.empty() || channel.starts_with("AUX");
            // A mono output gets the sum; an interface without named channels its first two.
            if (channel == monitor->channel() || channel == "MONO" ||
                (isUnnamed && input->index() == monitor->index()))
                result.emplace_back(monitor, input);
        }
    }
    // Nothing fits: the sum for one port, else the first two, once all of them are there.
    const bool isWhole = output.offeredChannels() > 0 && inputs.size() >= output.offeredChannels();
    if (isWhole && (result.empty() || inputs.size() == 1)) {
        result.clear();
        for (std::size_t i = 0; i < monitors.size(); ++i)
            result.emplace_back(monitors[i], inputs[std::min(i, inputs.size() - 1)]);
    }
    return result;
}

bool PipeWireAggregates::isLinked(const PipeWirePort& from, const PipeWirePort& to) const {
    return std::ranges::any_of(graph_.links(), [&](const auto& entry) {
        return entry.second.outputPort == from.globalID() && entry.second.inputPort == to.globalID();
    });
}

bool PipeWireAggregates::isLinked(const PipeWireNode& aggregate, const PipeWireNode& output) const {
    const auto pairs = portPairs(aggregate, output);
    return !pairs.empty() && std::ranges::all_of(pairs, [&](const PortPair& pair) {
        return isLinked(*pair.first, *pair.second);
    });
}

bool PipeWireAggregates::isComplete(const AggregateDeviceDescription& description) const {
    const PipeWireNode* aggregate = graph_.device(description.uid);
    return aggregate && std::ranges::all_of(description.subDevices, [&](const auto& subDevice) {
               const PipeWireNode* output = graph_.device(subDevice.uid);
               return !output || isLinked(*aggregate, *output);
           });
}

void PipeWireAggregates::connect(const PipeWireNode& aggregate, const PipeWireNode& output) {
    for (const auto& [from, to] : portPairs(aggregate, output)) {
        const auto key = std::pair(from->globalID(), to->globalID());
        if (isLinked(*from, *to) || requests_.contains(key)) continue;
        requests_.emplace(key, std::make_unique<Request>(connection_.core(), "link-factory",
                                                         PW_TYPE_INTERFACE_Link, PW_VERSION_LINK,
                                                         linkProperties(aggregate, *from, output, *to)));
    }
}

void PipeWireAggregates::relink() {
    if (!connection_.isConnected()) return;
    removeLateAggregates();
    removeStrayLinks();
    sweepRequests();
    std::set<AudioObjectID> unlinked;
    for (const auto& [uid, description] : kept_) {
        const PipeWireNode* aggregate = graph_.device(uid);
        if (!aggregate) continue;
        for (const auto& subDevice : description.subDevices) {
            const PipeWireNode* output = graph_.device(subDevice.uid);
            if (!output || isLinked(*aggregate, *output)) continue;
            unlinked.insert(output->objectID());
            if (strayCount_ < mostStrays) connect(*aggregate, *output);
        }
    }
    updateJoining(unlinked);
}

void PipeWireAggregates::removeStrayLinks() {
    std::erase_if(judgedLinks_, [&](uint32_t link) { return !graph_.links().contains(link); });
    for (const auto& [globalID, link] : graph_.links()) {
        if (!link.isOurs || judgedLinks_.contains(globalID)) continue;
        const PipeWireNode* aggregate = graph_.deviceBehind(link.outputNode);
        const auto composition = aggregate ? description(*aggregate) : std::nullopt;
        if (!composition) continue;
        judgedLinks_.insert(globalID);
        const PipeWireNode* input = graph_.deviceBehind(link.inputNode);
        const bool isOutput = input && std::ranges::any_of(composition->subDevices, [&](const auto& output) {
                                  return output.uid == input->name();
                              });
        if (isOutput) continue;
        LoggingService::audioDevices.error("Removing a link to {}, which is not an output of the aggregate",
                                           publicText(input ? input->name() : "an unknown object"));
        pw_registry_destroy(connection_.registry(), globalID);
        if (++strayCount_ == mostStrays)
            LoggingService::audioDevices.error("Outputs can't be told apart; no more is linked");
    }
}

/// What the server has made after it was given up.
void PipeWireAggregates::removeLateAggregates() {
    for (const PipeWireNode* node : graph_.devices()) {
        const auto unwanted = isAggregate(*node) ? givenUp_.find(node->name()) : givenUp_.end();
        if (unwanted == givenUp_.end()) continue;
        givenUp_.erase(unwanted);
        LoggingService::audioDevices.notice("Removing an aggregate that came too late");
        pw_registry_destroy(connection_.registry(), node->globalID());
    }
}

void PipeWireAggregates::sweepRequests() {
    std::erase_if(requests_, [&](const auto& entry) {
        const auto& [ports, request] = entry;
        // An output that goes takes its links first, and is asked for them again before it is seen to be
        // gone.
        const bool areThere = graph_.hasPort(ports.first) && graph_.hasPort(ports.second);
        if (!request->refusal.empty() && areThere)
            LoggingService::audioDevices.error("The sound server refused a link: {}", request->refusal);
        return request->isOver || std::ranges::any_of(graph_.links(), [&](const auto& link) {
                   return link.second.outputPort == ports.first && link.second.inputPort == ports.second;
               });
    });
}

void PipeWireAggregates::updateJoining(const std::set<AudioObjectID>& unlinked) {
    std::erase_if(joining_, [&](const auto& entry) {
        if (unlinked.contains(entry.first)) return false;
        if (entry.second) actor_.cancelTimer(*entry.second);
        return true;
    });
    for (const AudioObjectID objectID : unlinked) {
        if (joining_.contains(objectID)) continue;
        joining_[objectID] = actor_.postAfter(joiningGrace, [this, objectID] {
            joining_[objectID].reset(); // given up on: shown although it isn't linked
            changed_();
        });
    }
}

void PipeWireAggregates::forget() {
    kept_.clear();
    givenUp_.clear();
    judgedLinks_.clear();
    requests_.clear();
    updateJoining({});
}

} // namespace velto
