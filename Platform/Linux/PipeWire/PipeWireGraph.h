// PipeWireGraph: the server's devices, ports, links and metadata, mirrored from its registry.
//
// Reads come from the mirror; it is as fresh as the last served event. `changed` is called from within server
// callbacks: it may send to the server, but must not wait for it. `asked` is told when the mirror itself
// waits for an answer.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireDevice.h"
#include "Platform/Linux/PipeWire/PipeWireMetadata.h"
#include "Platform/Linux/PipeWire/PipeWireNode.h"
#include "Platform/Linux/PipeWire/PipeWirePort.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace velto {

struct PipeWireLink {
    /// Whether Velto made it, in this run or an earlier one.
    bool isOurs = false;
    uint32_t outputNode = SPA_ID_INVALID;
    uint32_t outputPort = SPA_ID_INVALID;
    uint32_t inputNode = SPA_ID_INVALID;
    uint32_t inputPort = SPA_ID_INVALID;
};

class PipeWireGraph {
  public:
    explicit PipeWireGraph(std::function<void()> changed, std::function<void()> asked = {});
    PipeWireGraph(const PipeWireGraph&) = delete;
    PipeWireGraph& operator=(const PipeWireGraph&) = delete;
    ~PipeWireGraph();

    /// Starts to mirror a server. Object IDs continue above those of the server before.
    void attach(pw_core* core, pw_registry* registry);
    /// Forgets everything; before the connection goes.
    void detach();

    /// Known devices in the order in which they appeared.
    std::vector<const PipeWireNode*> devices() const;
    /// Null when there is no such known device.
    PipeWireNode* device(AudioObjectID objectID) const;
    /// The known sink of that name, else the known source; null when there is neither.
    PipeWireNode* device(std::string_view name) const;
    /// The device behind a node's global ID, also while it is not known yet; null when it is no device.
    const PipeWireNode* deviceBehind(uint32_t globalID) const;
    /// Ports of a node in the order of their numbers.
    std::vector<const PipeWirePort*> ports(uint32_t nodeID) const;
    bool hasPort(uint32_t globalID) const { return ports_.contains(globalID); }
    /// The card behind a device; null when it has none.
    PipeWireDevice* card(const PipeWireNode& node) const;
    /// The node that delays outputs, by its name; none while there is none.
    std::optional<uint32_t> delayNode(std::string_view name) const;
    /// The name of the node that delays outputs with that global ID; null when it is none.
    const std::string* delayNodeName(uint32_t globalID) const;
    const std::map<uint32_t, PipeWireLink>& links() const noexcept { return links_; }
    /// Counts the links that came and went.
    std::uint64_t linkChanges() const noexcept { return linkChanges_; }
    /// Global IDs of playing streams that carry notifications, with their object serials.
    const std::map<uint32_t, std::string>& notificationStreams() const noexcept {
        return notificationStreams_;
    }
    /// As the server says it; empty while none is connected.
    const std::string& serverVersion() const noexcept { return serverVersion_; }
    /// Of WirePlumber; none while it isn't connected to the server.
    std::optional<pid_t> sessionManagerProcess() const;
    /// Null while the store doesn't exist; "default" comes and goes with the session manager.
    PipeWireMetadata* defaultMetadata() const noexcept { return default_.get(); }
    PipeWireMetadata* settingsMetadata() const noexcept { return settings_.get(); }
    /// Asks for the values of "default" again: the server loses updates of it while a program begins to
    /// watch it.
    void refreshDefaultMetadata(std::function<void()> refreshed = {});
    /// Counts the "default" stores there have been: each is that of another session manager.
    int defaultMetadataGeneration() const noexcept { return defaultGeneration_; }
    /// Whether all that the server has was told once, with all that the objects say of themselves.
    bool isComplete() const noexcept { return isListed_; }

  private:
    struct Events;

    void whenAnswered(std::function<void()> answered);
    void complete(std::unique_ptr<PipeWireMetadata> PipeWireGraph::*store, int refresh,
                  std::function<void()> completed = {});
    void add(uint32_t globalID, std::string_view type, PipeWireProperties properties);
    void addNode(uint32_t globalID, PipeWireProperties properties);
    void addPort(uint32_t globalID, const PipeWireProperties& properties);
    void addMetadata(uint32_t globalID, const PipeWireProperties& properties);
    void remove(uint32_t globalID);
    void answered(int sequence);

    pw_core* core_ = nullptr;
    pw_registry* registry_ = nullptr;
    spa_hook coreHook_{};
    spa_hook registryHook_{};
    /// In the order of their object IDs, which is that of their appearance.
    std::map<AudioObjectID, std::unique_ptr<PipeWireNode>> nodes_;
    std::map<uint32_t, AudioObjectID> objectIDs_;
    std::map<int, std::function<void()>> awaited_; // what to do, by the sequence number of the answer
    std::map<uint32_t, PipeWirePort> ports_;
    std::map<uint32_t, PipeWireLink> links_;
    std::map<uint32_t, std::unique_ptr<PipeWireDevice>> cards_;
    std::map<uint32_t, std::string> notificationStreams_;
    std::map<uint32_t, std::string> delayNodes_;
    std::map<uint32_t, pid_t> sessionManagers_; // it connects more than once
    std::string serverVersion_;
    std::unique_ptr<PipeWireMetadata> default_;
    std::unique_ptr<PipeWireMetadata> settings_;
    std::uint64_t linkChanges_ = 0;
    int defaultGeneration_ = 0;
    bool isListed_ = false;
    AudioObjectID objectIDBase_ = 0;
    AudioObjectID highestObjectID_ = 0;
    std::function<void()> changed_;
    std::function<void()> asked_;
};

} // namespace velto
