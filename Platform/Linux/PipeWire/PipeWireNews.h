// PipeWireNews: tells the client's listeners what has changed, in a turn of the main loop.
//
// A part of PipeWireAudioClient. It compares what is with what it last told, so changes that were taken back
// meanwhile are no news; and nothing is told while there is nobody who could answer a listener's questions.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireListeners.h"
#include "Platform/Linux/PipeWire/PipeWireSnapshot.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Observation/Lifetime.h"

namespace velto {

class PipeWireAggregates;
class PipeWireGraph;
class PipeWireSystemOutputs;

class PipeWireNews {
  public:
    PipeWireNews(MainActor& actor, const PipeWireConnection& connection, const PipeWireGraph& graph,
                 const PipeWireAggregates& aggregates, const PipeWireSystemOutputs& outputs)
        : actor_(actor), connection_(connection), graph_(graph), aggregates_(aggregates), outputs_(outputs) {}

    /// What is now is no news.
    void begin();
    /// There was no answer for a time: when there is one again, the service counts as restarted.
    void noteSilence() noexcept { wasSilent_ = true; }
    /// Something may have changed. Called on every change, also from within server callbacks.
    void tellLater();
    PipeWireListeners& listeners() noexcept { return listeners_; }
    const PipeWireListeners& listeners() const noexcept { return listeners_; }

  private:
    void tell();
    PipeWireSnapshot current() const { return PipeWireSnapshot::of(graph_, aggregates_, outputs_); }
    bool isAnswering() const noexcept;

    MainActor& actor_;
    const PipeWireConnection& connection_;
    const PipeWireGraph& graph_;
    const PipeWireAggregates& aggregates_;
    const PipeWireSystemOutputs& outputs_;
    PipeWireListeners listeners_;
    PipeWireSnapshot told_;
    bool wasSilent_ = false;
    bool isTelling_ = false; // a turn is asked for
    Lifetime lifetime_;
};

} // namespace velto
