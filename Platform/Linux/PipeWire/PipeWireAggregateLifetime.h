// PipeWireAggregateLifetime: an aggregate from before it is made until all that stood before it is back.
//
// A part of PipeWireAudioClient. It holds together what makes aggregates and what notes and restores the
// system's outputs: what stands is noted before one is made, and put back when there is none any more,
// whoever removed it, and whenever.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireAggregates.h"
#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "Platform/Linux/PipeWire/PipeWireSystemOutputs.h"
#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"

#include <map>
#include <optional>
#include <string>

namespace velto {

class PipeWireAggregateLifetime {
  public:
    PipeWireAggregateLifetime(PipeWireConnection& connection, PipeWireGraph& graph,
                              PipeWireAggregates& aggregates, PipeWireSystemOutputs& outputs)
        : connection_(connection), graph_(graph), aggregates_(aggregates), outputs_(outputs) {}
    PipeWireAggregateLifetime(const PipeWireAggregateLifetime&) = delete;
    PipeWireAggregateLifetime& operator=(const PipeWireAggregateLifetime&) = delete;

    /// Throws as PipeWireAggregates::create() does, and 'stop' without a session manager; what stood before
    /// is put back then.
    AudioObjectID begin(const AggregateDeviceDescription& description);
    /// Throws as PipeWireAggregates::destroy() does. Else what stood before it is back when this returns, or
    /// the session manager is slow.
    void end(const PipeWireNode& aggregate);
    /// Puts back what stood before, where there is no aggregate. Cheap; called on every change, also from
    /// within server callbacks.
    void follow();
    /// Waits a moment for what is being put back to be so.
    void awaitRestored();
    /// For a time nothing was heard: the next follow() puts back what has been left.
    void lookAnew() noexcept { hadAggregate_.reset(); }
    /// The server is gone.
    void forget();

    /// As PipeWireAggregates::description(), with drift compensation as it was set since.
    std::optional<AggregateDeviceDescription> description(const PipeWireNode& node) const;
    bool driftCompensation(const std::string& uid) const;
    void setDriftCompensation(const std::string& uid, bool isOn) {
        driftCompensation_.insert_or_assign(uid, isOn);
    }

  private:
    class Beginning;

    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    PipeWireAggregates& aggregates_;
    PipeWireSystemOutputs& outputs_;
    /// Drift compensation as set since creation, by UID: here the server keeps outputs in step by itself.
    std::map<std::string, bool, std::less<>> driftCompensation_;
    /// Whether an aggregate was there at the last look; none before the first.
    std::optional<bool> hadAggregate_;
    bool isBeginning_ = false;
};

} // namespace velto
