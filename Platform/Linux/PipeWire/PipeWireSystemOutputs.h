// PipeWireSystemOutputs: the default output, the alert output and the graph's sample rate.
//
// What it changes for the time of an aggregate it notes first (PipeWireNotes says how that is put back).
//
// The session manager has an output that somebody has chosen ("configured"), which it remembers for good, and
// the default output that follows from it. Where nobody has chosen, nobody is said to have: the aggregate
// becomes the default by its priority. Going back to another output while the aggregate stands can't be had
// without a choice then, so that output is only told to be the default until the aggregate goes.
//
// Somebody else's choice is a change of what is configured. A default that changes without one is the session
// manager's own doing (it has crashed and come back with what it had stored, or a better output appeared):
// the aggregate is made the default again, and nobody is told.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireAggregates.h"
#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "Platform/Linux/PipeWire/PipeWireNotes.h"
#include "VeltoCore/Async/Backoff.h"
#include "VeltoCore/Async/MainActor.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace velto {

class PipeWireSystemOutputs {
  public:
    /// `changed` is called, in a turn of the main loop, when the default output may be another one.
    PipeWireSystemOutputs(MainActor& actor, PipeWireConnection& connection, PipeWireGraph& graph,
                          PipeWireAggregates& aggregates, std::function<void()> changed);
    PipeWireSystemOutputs(const PipeWireSystemOutputs&) = delete;
    PipeWireSystemOutputs& operator=(const PipeWireSystemOutputs&) = delete;
    ~PipeWireSystemOutputs();

    /// Whether somebody answers for the default output.
    bool hasSessionManager() const noexcept;
    /// Null while there is none.
    const PipeWireNode* defaultOutput() const;
    /// Whether the session manager has left the aggregate of that name.
    bool hasLeft(const std::string& aggregateName) const { return defaultName() != aggregateName; }
    /// Returns when it is the default. Throws 'stop' when the session manager doesn't answer, 'nrdy' when it
    /// doesn't do it.
    void setDefaultOutput(const PipeWireNode& output);
    /// The output chosen for alerts, else the default output.
    const PipeWireNode* alertOutput() const;
    /// Throws as setDefaultOutput() does.
    void setAlertOutput(const PipeWireNode& output);

    /// The rate at which the whole graph runs, in Hz.
    double sampleRate() const;
    /// Frames that the graph plays at a time.
    std::int64_t quantum() const noexcept;
    /// Forces the whole graph to a rate in whole Hz. Throws 'stop' when the server doesn't answer.
    void setSampleRate(double sampleRate);

    /// Before an aggregate is made: notes what stands. Throws 'stop' when the server doesn't answer or has no
    /// session manager.
    void prepareForAggregate(const std::string& aggregateName);
    /// The aggregate is about to go: whoever leaves it now, it is not made the default again.
    void letGo();
    /// Where there is no aggregate of that name, or none any more: what is noted is put back, and a choice of
    /// it that outlived its server is no choice.
    void restore(const std::string& aggregateName);
    /// Waits for the end of that, as long as the server answers.
    void finishRestoring(Duration deadline);

    /// Keeps all that is said above true. Called on every change, also from within server callbacks.
    void follow();
    void forget();

  private:
    PipeWireMetadata& defaultMetadata() const;
    std::optional<std::string> defaultName() const;
    std::optional<std::string> configuredName() const;
    void switchToAggregate(const std::string& name);
    /// Goes back to what was configured before the aggregate. False where the output itself is to be
    /// configured.
    bool leaveAggregate(const std::string& aggregateName, const std::string& outputName);
    void settle();
    /// Whether the session manager has told all that it had stored.
    bool isSettled() const noexcept;
    void holdDefault();
    void listenHarder();
    void askForMissing();
    void reclaimDefault();
    void stopReclaiming();
    void routeAlerts();
    /// Waits, and asks the store anew when it takes too long.
    bool becomesTrue(const std::function<bool()>& condition, Duration deadline);
    void waitForDefaultMetadata(const std::function<bool()>& condition, const char* label,
                                Duration deadline = pipeWireDeadline);
    [[noreturn]] void fail(const char* label) const;

    MainActor& actor_;
    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    PipeWireAggregates& aggregates_;
    PipeWireNotes notes_;
    std::function<void()> changed_;
    /// The output that is told to be the default while the aggregate still is.
    std::optional<AudioObjectID> standIn_;
    /// The session manager that has made the aggregate the default, by generation; none while it is not to
    /// be.
    std::optional<int> heldSince_;
    /// Ends the wait for the aggregate to be the default again.
    std::optional<MainActor::TimerID> reclaiming_;
    /// The session manager, by generation, that was asked for all that it had stored, and has told it.
    std::optional<int> settling_, settled_;
    /// The store, by generation, of which a change was only seen when it was asked anew.
    std::optional<int> deafStore_;
    std::uint64_t linkChanges_ = 0; // at the last look
    /// Asks the store anew for what is missing.
    Backoff missing_;
    /// Alert streams that were sent elsewhere, by global ID, with the target's serial.
    std::map<uint32_t, std::string> routedAlerts_;
};

} // namespace velto
