#include "Platform/Linux/PipeWire/PipeWireAggregates.h"

#include "Platform/Linux/Delay/DelayNames.h"
#include "Platform/Linux/PipeWire/PipeWireComposition.h"
#include "Platform/Linux/PipeWire/PipeWireFailure.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "Platform/Linux/PipeWire/PipeWireText.h"
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

/// When a link that was refused is asked for again; then it is given up on until something changes.
constexpr Backoff::Pauses refusedLinkPauses{.first = std::chrono::milliseconds(50),
                                            .longest = std::chrono::seconds(10),
                                            .isAtOnceFirst = true,
                                            .endsAfterLongest = true};

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

/// Which an output has that passes its sound on, as an equaliser does; none for any other.
std::optional<std::string_view> linkGroup(const PipeWireNode& node) {
    return property(node.properties(), PW_KEY_NODE_LINK_GROUP);
}

/// What passes its sound on does so to the default output, where that isn't itself: to the aggregate, which
/// would get back what it gave. The session manager leads no sound of a group to a sink of the same, so the
/// aggregate is in that of the first such output that is there.
std::optional<std::string_view> linkGroup(const PipeWireGraph& graph,
                                          const AggregateDeviceDescription& description) {
    for (const auto& subDevice : description.subDevices) {
        const PipeWireNode* const output = graph.device(subDevice.uid);
        const auto group = output ? linkGroup(*output) : std::nullopt;
        if (group) return group;
    }
    return std::nullopt;
}

pw_properties* sinkProperties(const AggregateDeviceDescription& description,
                              std::optional<std::int64_t> priority,
                              std::optional<std::string_view> linkGroup) {
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
    if (linkGroup)
        pw_properties_set(properties, PW_KEY_NODE_LINK_GROUP, PipeWireText::toServer(*linkGroup).c_str());
    pw_properties_set(properties, PW_KEY_NODE_NAME, PipeWireText::toServer(description.uid).c_str());
    pw_properties_set(properties, PW_KEY_NODE_DESCRIPTION, description.name.c_str());
    pw_properties_set(properties, PipeWireKey::composition, PipeWireComposition::text(description).c_str());
    return properties;
}

} // namespace

PipeWireAggregates::PipeWireAggregates(MainActor& actor, FileDescriptorWatcher& watcher,
                                       PipeWireConnection& connection, PipeWireGraph& graph,
                                       const std::string& remote, Handlers handlers)
    : actor_(actor), connection_(connection), graph_(graph),
      delays_(actor, watcher, graph, remote, std::move(handlers.delaysLost)),
      links_(connection, graph, delays_, [this] { refusedLinks_.askLater(); }),
      refusedLinks_(actor, refusedLinkPauses, [this] { relink(); }), whenJoined_(std::move(handlers.joined)) {
}

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
    links_.begin();
    const PipeWireRequest sink(
        connection_.core(), "adapter", PW_TYPE_INTERFACE_Node, PW_VERSION_NODE,
        sinkProperties(description, sessionPriority(graph_), linkGroup(graph_, description)));
    connection_.waitUntil([&] {
        refusedLinks_.askIfDue(); // the main loop doesn't turn meanwhile
        return isComplete(description) || !sink.refusal().empty();
    });
    if (isComplete(description)) return graph_.device(description.uid)->objectID();

    kept_.erase(description.uid);
    givenUp_.insert(description.uid);
    if (connection_.isSilent()) failPipeWireCall(kAudioHardwareNotRunningError, label);
    const std::string reason = !sink.refusal().empty()       ? sink.refusal()
                               : refusedLinks_.isUnsettled() ? "it refuses links"
                                                             : "it is not whole in time";
    LoggingService::audioDevices.error("The sound server did not build the aggregate: {}", reason);
    removeLateAggregates();
    connection_.waitUntil([&] { return !graph_.device(description.uid); });
    failPipeWireCall(kAudioHardwareNotReadyError, label);
}

void PipeWireAggregates::destroy(const PipeWireNode& aggregate) {
    const AudioObjectID objectID = aggregate.objectID();
    const bool isKept = kept_.erase(aggregate.name()) > 0;
    // What an earlier run left would go by itself, unless it hangs.
    if (const auto left = graph_.delayNode(DelayNames::node(aggregate.name())); left && !isKept)
        pw_registry_destroy(connection_.registry(), *left);
    pw_registry_destroy(connection_.registry(), aggregate.globalID());
    const bool isGone = connection_.waitUntil([&] { return !graph_.device(objectID); });
    delays_.forget(); // after the aggregate: nothing is to be heard anew in between
    if (isGone) return;
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

bool PipeWireAggregates::describesDriftCompensation(const std::string& uid) const {
    for (const PipeWireNode* node : graph_.devices()) {
        const auto composition = description(*node);
        if (!composition) continue;
        for (const auto& member : composition->subDevices)
            if (member.uid == uid) return member.driftCompensation;
    }
    return false;
}

std::vector<const PipeWireNode*> PipeWireAggregates::activeSubDevices(const PipeWireNode& aggregate) const {
    std::vector<const PipeWireNode*> result;
    const auto composition = description(aggregate);
    if (!composition) return result;
    for (const auto& subDevice : composition->subDevices) {
        const PipeWireNode* output = graph_.device(subDevice.uid);
        if (output && links_.isLinked(aggregate, *output)) result.push_back(output);
    }
    return result;
}

bool PipeWireAggregates::isJoining(const PipeWireNode& node) const {
    const auto found = joining_.find(node.objectID());
    return found != joining_.end() && found->second.has_value();
}

bool PipeWireAggregates::isComplete(const AggregateDeviceDescription& description) const {
    const PipeWireNode* aggregate = graph_.device(description.uid);
    return aggregate && std::ranges::all_of(description.subDevices, [&](const auto& subDevice) {
               const PipeWireNode* output = graph_.device(subDevice.uid);
               return !output || links_.isLinked(*aggregate, *output);
           });
}

void PipeWireAggregates::relink() {
    if (!connection_.isConnected()) return;
    removeLateAggregates();
    links_.follow();
    delays_.graphChanged();
    std::erase_if(joined_, [&](AudioObjectID objectID) { return !graph_.device(objectID); });
    std::set<AudioObjectID> unlinked;
    bool isWhole = true;
    for (const auto& [uid, description] : kept_) {
        const PipeWireNode* aggregate = graph_.device(uid);
        if (!aggregate) continue;
        const bool isInGroup = linkGroup(graph_, description) == linkGroup(*aggregate);
        for (const auto& subDevice : description.subDevices) {
            const PipeWireNode* output = graph_.device(subDevice.uid);
            if (!output) continue;
            // It came back in another group: it takes part again once the aggregate is made anew.
            if (linkGroup(*output) && !isInGroup) continue;
            links_.link(*aggregate, *output);
            const AudioObjectID objectID = output->objectID();
            if (links_.isLinked(*aggregate, *output)) {
                joined_.insert(objectID);
                continue;
            }
            isWhole = false;
            if (!joined_.contains(objectID)) unlinked.insert(objectID);
        }
    }
    updateJoining(unlinked);
    if (isWhole) refusedLinks_.reset();
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
            whenJoined_();
        });
    }
}

std::vector<std::string> PipeWireAggregates::outputs(const PipeWireNode& aggregate) const {
    std::vector<std::string> result;
    const auto kept = kept_.find(aggregate.name());
    if (kept == kept_.end()) return result;
    for (const auto& subDevice : kept->second.subDevices)
        result.push_back(subDevice.uid);
    return result;
}

bool PipeWireAggregates::setDelays(const PipeWireNode& aggregate, const OutputDelays& delays) {
    const auto all = outputs(aggregate);
    if (all.empty()) return false;
    delays_.set(aggregate.name(), all, delays);
    relink();
    return true;
}

bool PipeWireAggregates::playSweeps(const PipeWireNode& aggregate, const std::string& rising,
                                    const std::string& falling, double peak) {
    const auto all = outputs(aggregate);
    for (const std::string& output : {rising, falling})
        if (std::ranges::find(all, output) == all.end()) return false;
    delays_.playSweeps(aggregate.name(), all, rising, falling, peak);
    relink();
    return true;
}

void PipeWireAggregates::endSweeps() {
    delays_.endSweeps();
    relink();
}

void PipeWireAggregates::forget() {
    kept_.clear();
    givenUp_.clear();
    delays_.forget();
    links_.forget();
    refusedLinks_.reset();
    joined_.clear();
    updateJoining({});
}

} // namespace velto
