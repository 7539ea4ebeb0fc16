// PipeWireDelays: the delays of an aggregate's outputs, and the life of the program that does the delaying.
//
// A part of PipeWireAggregates; main actor only. Nothing runs before an output is to be delayed or measured.
// From the first delay on the program runs as long as the aggregate lives, because to change a delay is
// silent, and to leave the program is not; but after a measurement, when nothing is heard, outputs leave it.
// It is started again when it ends or hangs, three times within a minute; then the delays are lost, which is
// told once.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireDelayHelper.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "Platform/POSIX/FileDescriptorWatcher.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Sync/OutputDelays.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velto {

class PipeWireDelays {
  public:
    /// `lost` is called, in a turn of the main loop, when the delays of that aggregate can't be kept up.
    using LostHandler = std::function<void(const std::string& aggregate)>;

    PipeWireDelays(MainActor& actor, FileDescriptorWatcher& watcher, const PipeWireGraph& graph,
                   std::string remote, LostHandler lost);
    PipeWireDelays(const PipeWireDelays&) = delete;
    PipeWireDelays& operator=(const PipeWireDelays&) = delete;

    /// `outputs` are all of the aggregate's, the same at each call for it.
    void set(const std::string& aggregate, const std::vector<std::string>& outputs,
             const OutputDelays& delays);
    /// Has all outputs play through the program, and two of them sweeps in place of what players send; both
    /// are among `outputs`, which are as above.
    void playSweeps(const std::string& aggregate, const std::vector<std::string>& outputs,
                    const std::string& rising, const std::string& falling, double peak);
    /// What players send is heard again; an output without a delay, directly.
    void endSweeps();
    /// The aggregate is about to go, or has gone with the server.
    void forget();
    /// Called on every change of the graph, also from within server callbacks.
    void graphChanged();

    /// Where an output gets its sound from.
    struct Place {
        /// The node that delays.
        uint32_t node;
        /// Of the output, among the node's.
        std::size_t index;
    };
    /// None for an output that plays directly: it was never delayed, or what delays is not there (yet).
    std::optional<Place> place(const std::string& aggregate, const std::string& output) const;

  private:
    struct Session {
        std::string aggregate;
        std::vector<std::string> outputs;
        OutputDelays delays;
        /// Those that have been delayed at any time.
        std::set<std::string, std::less<>> delayed;
        /// Then all play through the program.
        bool isMeasured = false;
        bool isRunning = false; // the aggregate
    };

    Session& session(const std::string& aggregate, const std::vector<std::string>& outputs);
    void start();
    void ended(const std::string& why);

    MainActor& actor_;
    FileDescriptorWatcher& watcher_;
    const PipeWireGraph& graph_;
    std::string remote_;
    LostHandler lost_;
    std::optional<Session> session_;
    std::deque<ContinuousInstant> ends_; // of the program, unasked
    std::optional<PipeWireDelayHelper> helper_;
    Lifetime lifetime_;
};

} // namespace velto
