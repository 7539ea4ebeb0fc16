#include "Platform/Linux/PipeWire/PipeWireGraph.h"

#include "Platform/Linux/Delay/DelayNames.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"

#include <algorithm>
#include <utility>

namespace velto {

struct PipeWireGraph::Events {
    static void global(void* data, uint32_t id, uint32_t, const char* type, uint32_t,
                       const spa_dict* dictionary) {
        PipeWireProperties properties;
        mergeProperties(properties, dictionary);
        static_cast<PipeWireGraph*>(data)->add(id, type, std::move(properties));
    }
    static void globalRemove(void* data, uint32_t id) { static_cast<PipeWireGraph*>(data)->remove(id); }
    static void done(void* data, uint32_t id, int sequence) {
        if (id == PW_ID_CORE) static_cast<PipeWireGraph*>(data)->answered(sequence);
    }
    static void info(void* data, const pw_core_info* info) {
        if (info->version) static_cast<PipeWireGraph*>(data)->serverVersion_ = info->version;
    }
    static constexpr pw_registry_events registry{PW_VERSION_REGISTRY_EVENTS, global, globalRemove};
    static constexpr pw_core_events core = [] {
        pw_core_events table{};
        table.version = PW_VERSION_CORE_EVENTS;
        table.done = done;
        table.info = info;
        return table;
    }();
};

PipeWireGraph::PipeWireGraph(std::function<void()> changed, std::function<void()> asked)
    : changed_(std::move(changed)), asked_(std::move(asked)) {}

PipeWireGraph::~PipeWireGraph() { detach(); }

void PipeWireGraph::attach(pw_core* core, pw_registry* registry) {
    core_ = core;
    registry_ = registry;
    objectIDBase_ = highestObjectID_;
    pw_core_add_listener(core_, &coreHook_, &Events::core, this);
    pw_registry_add_listener(registry_, &registryHook_, &Events::registry, this);
    // The first answer comes after the list of all objects, the second after what each says of itself.
    whenAnswered([this] {
        whenAnswered([this] {
            isListed_ = true;
            changed_();
        });
    });
}

void PipeWireGraph::detach() {
    if (!core_) return;
    spa_hook_remove(&coreHook_);
    spa_hook_remove(&registryHook_);
    core_ = nullptr;
    registry_ = nullptr;
    isListed_ = false;
    nodes_.clear();
    objectIDs_.clear();
    awaited_.clear();
    ports_.clear();
    links_.clear();
    cards_.clear();
    notificationStreams_.clear();
    delayNodes_.clear();
    sessionManagers_.clear();
    serverVersion_.clear();
    default_.reset();
    settings_.reset();
}

std::vector<const PipeWireNode*> PipeWireGraph::devices() const {
    std::vector<const PipeWireNode*> result;
    for (const auto& entry : nodes_)
        if (entry.second->isKnown()) result.push_back(entry.second.get());
    return result;
}

PipeWireNode* PipeWireGraph::device(AudioObjectID objectID) const {
    const auto found = nodes_.find(objectID);
    return found != nodes_.end() && found->second->isKnown() ? found->second.get() : nullptr;
}

PipeWireNode* PipeWireGraph::device(std::string_view name) const {
    PipeWireNode* source = nullptr;
    for (const auto& entry : nodes_) {
        PipeWireNode& node = *entry.second;
        if (!node.isKnown() || node.name() != name) continue;
        if (node.isSink()) return &node;
        if (!source) source = &node;
    }
    return source;
}

const PipeWireNode* PipeWireGraph::deviceBehind(uint32_t globalID) const {
    const auto found = objectIDs_.find(globalID);
    return found == objectIDs_.end() ? nullptr : nodes_.at(found->second).get();
}

std::vector<const PipeWirePort*> PipeWireGraph::ports(uint32_t nodeID) const {
    std::vector<const PipeWirePort*> result;
    for (const auto& entry : ports_)
        if (entry.second.nodeID() == nodeID) result.push_back(&entry.second);
    // Not by their IDs: those are used again.
    std::ranges::sort(result, {},
                      [](const auto* port) { return std::pair(port->index(), port->globalID()); });
    return result;
}

std::optional<uint32_t> PipeWireGraph::delayNode(std::string_view name) const {
    const auto found = std::ranges::find(delayNodes_, name, [](const auto& entry) { return entry.second; });
    return found == delayNodes_.end() ? std::nullopt : std::optional(found->first);
}

const std::string* PipeWireGraph::delayNodeName(uint32_t globalID) const {
    const auto found = delayNodes_.find(globalID);
    return found == delayNodes_.end() ? nullptr : &found->second;
}

std::optional<pid_t> PipeWireGraph::sessionManagerProcess() const {
    return sessionManagers_.empty() ? std::nullopt : std::optional(sessionManagers_.begin()->second);
}

PipeWireDevice* PipeWireGraph::card(const PipeWireNode& node) const {
    const auto id = numberProperty(node.properties(), PW_KEY_DEVICE_ID);
    const auto found = id ? cards_.find(*id) : cards_.end();
    return found == cards_.end() ? nullptr : found->second.get();
}

void PipeWireGraph::add(uint32_t globalID, std::string_view type, PipeWireProperties properties) {
    if (type == PW_TYPE_INTERFACE_Node) {
        addNode(globalID, std::move(properties));
    } else if (type == PW_TYPE_INTERFACE_Port) {
        addPort(globalID, properties);
    } else if (type == PW_TYPE_INTERFACE_Link) {
        const auto end = [&](const char* key) {
            return numberProperty(properties, key).value_or(SPA_ID_INVALID);
        };
        ++linkChanges_;
        const bool isOurs = property(properties, PW_KEY_OBJECT_PATH) == PipeWireKey::link;
        links_.insert_or_assign(
            globalID, PipeWireLink{isOurs, end(PW_KEY_LINK_OUTPUT_NODE), end(PW_KEY_LINK_OUTPUT_PORT),
                                   end(PW_KEY_LINK_INPUT_NODE), end(PW_KEY_LINK_INPUT_PORT)});
        changed_();
    } else if (type == PW_TYPE_INTERFACE_Device &&
               property(properties, PW_KEY_MEDIA_CLASS) == "Audio/Device") {
        cards_.insert_or_assign(globalID, std::make_unique<PipeWireDevice>(registry_, globalID, changed_));
    } else if (type == PW_TYPE_INTERFACE_Metadata) {
        addMetadata(globalID, properties);
    } else if (type == PW_TYPE_INTERFACE_Client && property(properties, PW_KEY_APP_NAME) == "WirePlumber") {
        if (const auto process = numberProperty(properties, PW_KEY_SEC_PID))
            sessionManagers_.insert_or_assign(globalID, static_cast<pid_t>(*process));
    }
}

void PipeWireGraph::addNode(uint32_t globalID, PipeWireProperties properties) {
    const uint32_t serial = numberProperty(properties, PW_KEY_OBJECT_SERIAL).value_or(globalID);
    if (PipeWireNode::isAudioDevice(properties)) {
        const AudioObjectID objectID = objectIDBase_ + serial;
        highestObjectID_ = std::max(highestObjectID_, objectID);
        objectIDs_.insert_or_assign(globalID, objectID);
        nodes_.insert_or_assign(objectID, std::make_unique<PipeWireNode>(registry_, globalID, objectID,
                                                                         std::move(properties), changed_));
        // Once this is answered, what the node says of itself has arrived.
        whenAnswered([this, objectID] {
            const auto node = nodes_.find(objectID);
            if (node == nodes_.end()) return;
            node->second->markKnown();
            changed_();
        });
    } else if (property(properties, PW_KEY_MEDIA_CLASS) == "Stream/Output/Audio" &&
               property(properties, PW_KEY_MEDIA_ROLE) == "Notification") {
        notificationStreams_.insert_or_assign(globalID, std::to_string(serial));
        changed_();
    } else if (property(properties, PW_KEY_OBJECT_PATH) == DelayNames::mark) {
        delayNodes_.insert_or_assign(globalID,
                                     std::string(property(properties, PW_KEY_NODE_NAME).value_or("")));
        changed_();
    }
}

void PipeWireGraph::addPort(uint32_t globalID, const PipeWireProperties& properties) {
    PipeWirePort& port = ports_.insert_or_assign(globalID, PipeWirePort(globalID, properties)).first->second;
    if (port.isInput() && objectIDs_.contains(port.nodeID())) port.watchLatency(registry_, changed_);
    changed_();
}

void PipeWireGraph::addMetadata(uint32_t globalID, const PipeWireProperties& properties) {
    const auto name = property(properties, "metadata.name");
    if (name == "default") {
        default_ = std::make_unique<PipeWireMetadata>(registry_, globalID, changed_);
        ++defaultGeneration_;
        complete(&PipeWireGraph::default_, 0);
    } else if (name == "settings") {
        settings_ = std::make_unique<PipeWireMetadata>(registry_, globalID, changed_);
        complete(&PipeWireGraph::settings_, 0);
    } else {
        return;
    }
    changed_();
}

void PipeWireGraph::remove(uint32_t globalID) {
    if (const auto node = objectIDs_.find(globalID); node != objectIDs_.end()) {
        nodes_.erase(node->second);
        objectIDs_.erase(node);
    }
    ports_.erase(globalID);
    linkChanges_ += links_.erase(globalID);
    cards_.erase(globalID);
    notificationStreams_.erase(globalID);
    delayNodes_.erase(globalID);
    sessionManagers_.erase(globalID);
    if (default_ && default_->globalID() == globalID) default_.reset();
    if (settings_ && settings_->globalID() == globalID) settings_.reset();
    changed_();
}

void PipeWireGraph::refreshDefaultMetadata(std::function<void()> refreshed) {
    if (!default_) return;
    complete(&PipeWireGraph::default_, default_->refresh(registry_), std::move(refreshed));
}

/// The values that a store has been asked for are there once this is answered.
void PipeWireGraph::complete(std::unique_ptr<PipeWireMetadata> PipeWireGraph::*store, int refresh,
                             std::function<void()> completed) {
    whenAnswered(
        [this, store, refresh, globalID = (this->*store)->globalID(), completed = std::move(completed)] {
            PipeWireMetadata* metadata = (this->*store).get();
            if (metadata && metadata->globalID() == globalID) metadata->completed(refresh);
            if (completed) completed();
        });
}

void PipeWireGraph::whenAnswered(std::function<void()> answered) {
    awaited_.insert_or_assign(pw_core_sync(core_, PW_ID_CORE, 0), std::move(answered));
    if (asked_) asked_();
}

void PipeWireGraph::answered(int sequence) {
    if (const auto awaited = awaited_.extract(sequence); !awaited.empty()) awaited.mapped()();
}

} // namespace velto
