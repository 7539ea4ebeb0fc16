// PipeWireAggregates: multi-output devices made of a null sink whose monitor is linked to every output.
//
// The server does the playing: sink and links live in it (object.linger), so a killed program leaves them
// playing and a later run finds them. While this program lives it links an output again as soon as it
// returns. The links are passive: with nothing playing, aggregate and outputs go to sleep. A delay for one
// output would be a node of its own between the monitor and that output: `connect` is the one place that says
// what is linked to what.
//
// No sound on a stranger: the server uses the IDs of what has gone at once for what comes, and this mirror is
// always a little behind. So links are asked for by names, which the server looks up when it makes them. Each
// carries a mark, and a marked link from an aggregate to anything but one of its outputs is destroyed as soon
// as it is seen. Links that others make are never touched.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"

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
    /// 'nope' while a device has that UID; 'stop' when the server doesn't answer, and what it makes late is
    /// removed as soon as it is seen; 'nrdy' when it can't be made, with nothing left.
    AudioObjectID create(const AggregateDeviceDescription& description);
    /// Returns when the sink is gone. Throws 'stop' when the server doesn't answer; it goes when it does.
    void destroy(const PipeWireNode& aggregate);

    static bool isAggregate(const PipeWireNode& node);
    /// The aggregate that is there, of this run or an earlier one; null when there is none.
    const PipeWireNode* existing() const;
    /// The composition that the aggregate was created from, as far as it can be read; none for other devices.
    static std::optional<AggregateDeviceDescription> description(const PipeWireNode& node);
    /// The sub-devices that are linked to the aggregate now, in its order.
    std::vector<const PipeWireNode*> activeSubDevices(const PipeWireNode& aggregate) const;
    /// Whether the device has come back to a living aggregate of ours but isn't linked yet. For a moment it
    /// is hidden, so that nobody sees an output that is there but silent.
    bool isJoining(const PipeWireNode& node) const;

    /// Links what is missing and unlinks what is astray. Cheap; called on every change, also from within
    /// server callbacks.
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
    void removeStrayLinks();
    void removeLateAggregates();
    void sweepRequests();
    void updateJoining(const std::set<AudioObjectID>& unlinked);

    MainActor& actor_;
    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    /// What this program keeps linked, by UID.
    std::map<std::string, AggregateDeviceDescription, std::less<>> kept_;
    /// What was asked for in vain: unwanted when it appears.
    std::set<std::string, std::less<>> givenUp_;
    /// Links that were found to be right, or were asked to be destroyed, by global ID. What a link joins never
    /// changes, and to look each one up at every change would hold up an output that has come back.
    std::set<uint32_t> judgedLinks_;
    int strayCount_ = 0; // since the last aggregate was made
    /// Links asked for and not yet seen in the registry.
    std::map<std::pair<uint32_t, uint32_t>, std::unique_ptr<Request>> requests_;
    /// Devices that are back and not linked yet, each with the timer that ends the wait for it.
    std::map<AudioObjectID, std::optional<MainActor::TimerID>> joining_;
    std::function<void()> changed_;
};

} // namespace velto
