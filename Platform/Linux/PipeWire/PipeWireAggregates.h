// PipeWireAggregates: multi-output devices made of a null sink whose monitor is linked to every output.
//
// The server does the playing: sink and links live in it (object.linger), so a killed program leaves them
// playing and a later run finds them. While this program lives it links an output again as soon as it
// returns. The links are passive: with nothing playing, aggregate and outputs go to sleep. A delay for one
// output would be a node of its own between the monitor and that output: `connect` is the one place that says
// what is linked to what.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "VeltoCore/Aggregate/AggregateDeviceDescription.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace velto {

class PipeWireAggregates {
  public:
    /// `changed` is called, in a turn of the main loop, when a device stops being one that joins.
    PipeWireAggregates(MainActor& actor, PipeWireConnection& connection, PipeWireGraph& graph,
                       std::function<void()> changed);
    PipeWireAggregates(const PipeWireAggregates&) = delete;
    PipeWireAggregates& operator=(const PipeWireAggregates&) = delete;
    ~PipeWireAggregates();

    /// Creates the aggregate; returns when its sink and the links to all outputs that are there exist. Throws
    /// 'nope' while a device has that UID; 'nrdy' when the server doesn't get there in time, with nothing
    /// left.
    AudioObjectID create(const AggregateDeviceDescription& description);
    /// Returns when the sink is gone. Throws 'nrdy' when it isn't in time.
    void destroy(const PipeWireNode& aggregate);

    static bool isAggregate(const PipeWireNode& node);
    /// The composition that the aggregate was created from, as far as it can be read; none for other devices.
    static std::optional<AggregateDeviceDescription> description(const PipeWireNode& node);
    /// The sub-devices that are linked to the aggregate now, in its order.
    std::vector<const PipeWireNode*> activeSubDevices(const PipeWireNode& aggregate) const;
    /// Whether the device has come back to a living aggregate of ours but isn't linked yet. For a moment it
    /// is hidden, so that nobody sees an output that is there but silent.
    bool isJoining(const PipeWireNode& node) const;

    /// Links what is missing. Cheap; called on every change, also from within server callbacks.
    void relink();
    /// The server is gone, and all its objects with it.
    void forget();

  private:
    struct Request;
    using PortPair = std::pair<const PipeWirePort*, const PipeWirePort*>;

    /// Which monitor port of the aggregate feeds which port of the output.
    std::vector<PortPair> portPairs(const PipeWireNode& aggregate, const PipeWireNode& output) const;
    void connect(const PipeWireNode& aggregate, const PipeWireNode& output);
    bool isLinked(const PipeWirePort& from, const PipeWirePort& to) const;
    bool isLinked(const PipeWireNode& aggregate, const PipeWireNode& output) const;
    bool isComplete(const AggregateDeviceDescription& description) const;
    void sweepRequests();
    void updateJoining(const std::set<AudioObjectID>& unlinked);

    MainActor& actor_;
    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    /// What this program keeps linked, by UID.
    std::map<std::string, AggregateDeviceDescription, std::less<>> kept_;
    /// Links asked for and not yet seen in the registry.
    std::map<std::pair<uint32_t, uint32_t>, std::unique_ptr<Request>> requests_;
    /// Devices that are back and not linked yet, each with the timer that ends the wait for it.
    std::map<AudioObjectID, std::optional<MainActor::TimerID>> joining_;
    std::function<void()> changed_;
};

} // namespace velto
