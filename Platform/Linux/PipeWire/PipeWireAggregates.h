// PipeWireAggregates: multi-output devices made of a null sink whose monitor is linked to every output.
//
// The server does the playing: sink and links live in it (object.linger), so a killed program leaves them
// playing and a later run finds them. While this program lives it links an output again as soon as it
// returns. The links are passive: with nothing playing, aggregate and outputs go to sleep. What is linked to
// what is for PipeWireAggregateLinks, what delays an output for PipeWireDelays.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireAggregateLinks.h"
#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireDelays.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "VeltoCore/Async/Backoff.h"
#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velto {

class PipeWireAggregates {
  public:
    /// Called in turns of the main loop.
    struct Handlers {
        /// A device stops being one that joins.
        std::function<void()> joined;
        /// The outputs of that aggregate can't be delayed any more.
        PipeWireDelays::LostHandler delaysLost;
    };

    /// `remote` is the server's socket, empty for the user's own.
    PipeWireAggregates(MainActor& actor, FileDescriptorWatcher& watcher, PipeWireConnection& connection,
                       PipeWireGraph& graph, const std::string& remote, Handlers handlers);
    PipeWireAggregates(const PipeWireAggregates&) = delete;
    PipeWireAggregates& operator=(const PipeWireAggregates&) = delete;
    ~PipeWireAggregates();

    /// Creates the aggregate; returns when its sink and the links to all outputs that are there exist. Throws
    /// 'nope' while a device has that UID; 'stop' when the server doesn't answer, and what it makes late is
    /// removed as soon as it is seen; 'nrdy' when it can't be made, with nothing left.
    AudioObjectID create(const AggregateDeviceDescription& description);
    /// Delays outputs of an aggregate that this program has made; false for any other device.
    bool setDelays(const PipeWireNode& aggregate, const OutputDelays& delays);
    /// Has two outputs of such an aggregate play sweeps in place of what players send; false where they are
    /// none of its outputs.
    bool playSweeps(const PipeWireNode& aggregate, const std::string& rising, const std::string& falling,
                    double peak);
    void endSweeps();
    /// Returns when the sink is gone. Throws 'stop' when the server doesn't answer; it goes when it does.
    void destroy(const PipeWireNode& aggregate);

    static bool isAggregate(const PipeWireNode& node);
    /// The aggregate that is there, of this run or an earlier one; null when there is none.
    const PipeWireNode* existing() const;
    /// The composition that the aggregate was created from, as far as it can be read; none for other devices.
    static std::optional<AggregateDeviceDescription> description(const PipeWireNode& node);
    /// Whether some aggregate was created so that the drift of that output is compensated.
    bool describesDriftCompensation(const std::string& uid) const;
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
    /// Of an aggregate that this program has made; empty for any other device.
    std::vector<std::string> outputs(const PipeWireNode& aggregate) const;
    bool isComplete(const AggregateDeviceDescription& description) const;
    void removeLateAggregates();
    void updateJoining(const std::set<AudioObjectID>& unlinked);

    MainActor& actor_;
    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    PipeWireDelays delays_;
    PipeWireAggregateLinks links_;
    /// What this program keeps linked, by UID.
    std::map<std::string, AggregateDeviceDescription, std::less<>> kept_;
    /// What was asked for in vain: unwanted when it appears.
    std::set<std::string, std::less<>> givenUp_;
    /// Devices that are back and not linked yet, each with the timer that ends the wait for it.
    std::map<AudioObjectID, std::optional<MainActor::TimerID>> joining_;
    /// Devices that have been linked since they appeared. One that is without links for a moment, because
    /// what delays it has gone, is not one that comes back: whoever listens would take it to be lost.
    std::set<AudioObjectID> joined_;
    /// Asks again for links that were refused.
    Backoff refusedLinks_;
    std::function<void()> whenJoined_;
};

} // namespace velto
