// PipeWireSystemOutputs: the default output, the alert output and the graph's sample rate.
//
// What it changes for the time of an aggregate (the configured output, the forced rate) it first notes in the
// server's own metadata, so that whoever removes the aggregate, this run or a later one, can put it back.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace velto {

class PipeWireSystemOutputs {
  public:
    PipeWireSystemOutputs(PipeWireConnection& connection, PipeWireGraph& graph);

    /// Null while there is none.
    const PipeWireNode* defaultOutput() const;
    /// Returns when the session manager has made it the default. Throws 'nrdy' when it doesn't.
    void setDefaultOutput(const PipeWireNode& output);
    /// The output chosen for alerts, else the default output.
    const PipeWireNode* alertOutput() const;
    void setAlertOutput(const PipeWireNode& output);

    /// The rate at which the whole graph runs, in Hz.
    double sampleRate() const;
    /// Frames that the graph plays at a time.
    std::int64_t quantum() const noexcept;
    /// Forces the whole graph to a rate in whole Hz. Throws 'nrdy' when the server doesn't take it.
    void setSampleRate(double sampleRate);

    /// Before an aggregate is made: forgets a choice that names it, which the session manager keeps when the
    /// machine goes down during a session, and the note of an aborted removal. Throws 'nrdy' when the
    /// server doesn't answer or has no session manager.
    void prepareForAggregate(const std::string& aggregateName);
    /// Where there is no aggregate of that name: a choice of it that outlived its server is no choice.
    void forgetChoiceOf(const std::string& aggregateName);
    /// After an aggregate has gone: puts back the configured output and the rate from before it.
    void restoreAfterAggregate(const std::string& aggregateName);
    void restoreSampleRate();
    /// Sends playing alerts to the alert output. Called on every change, also from within server callbacks.
    void routeAlerts();
    void forget();

  private:
    PipeWireMetadata& defaultMetadata() const;
    void rememberConfiguredOutput(const std::string& aggregateName);
    /// Throws 'nrdy' when the store doesn't come to hold what the condition wants.
    void waitForDefaultMetadata(const std::function<bool()>& condition);

    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    /// The output that was made the default when the aggregate's time was over.
    std::optional<std::string> restoredOutput_;
    /// Alert streams that were sent elsewhere, by global ID, with the target's serial.
    std::map<uint32_t, std::string> routedAlerts_;
};

} // namespace velto
