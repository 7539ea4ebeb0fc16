// SessionInvariants: what holds whenever nothing is under way, whatever happened before.
#pragma once

#include "Tests/Support/Program.h"

#include <algorithm>
#include <string>
#include <vector>

namespace velto {

/// What a test knows about the past: which exceptions are due.
struct InvariantContext {
    /// Where the default and the alert output belong when no session runs. Empty: anywhere alive.
    std::vector<std::string> defaultOutputs = {};
    std::vector<std::string> alertOutputs = {};
    /// The call that removes the aggregate, or finds it, has failed.
    bool mayLeaveAggregate = false;
    /// Someone else has meddled: a running session may have lost its aggregate or the outputs.
    bool mayHaveLostSession = false;
    /// A call that adds a listener has failed.
    bool mayMissListeners = false;
};

/// The session of some program, and what must be told apart to judge it.
struct SessionView {
    const Machine& machine;
    const SystemAudioManager& session;
    bool hasRecord;
};

/// The invariants of the session itself that are violated, in words.
inline std::vector<std::string> violations(const SessionView& view, const InvariantContext& context) {
    std::vector<std::string> result;
    const auto require = [&result](bool holds, std::string what) {
        if (!holds) result.push_back(std::move(what));
    };
    const auto isOneOf = [](const std::vector<std::string>& allowed, const std::string& uid) {
        return allowed.empty() || std::ranges::find(allowed, uid) != allowed.end();
    };
    const SimulatedAudioSystem& world = view.machine.world;
    const auto aggregates = world.aggregates();
    const AudioSessionState& state = view.session.state();

    require(!state.isBusy() && !view.session.isOperationRunning(), "still busy");
    require(view.machine.loop.pendingTimers() == 0, "a timer is left");
    require(world.fallbackUID().empty() || !world.defaultOutputUID().empty(), "the default output is dead");
    if (const auto session = state.session()) {
        require(view.hasRecord, "a session without a record");
        if (context.mayHaveLostSession) return result;
        require(aggregates.size() == 1, std::to_string(aggregates.size()) + " aggregates");
        require(!aggregates.empty() && aggregates.front().deviceID == session->aggregateDeviceID,
                "the aggregate is not the session's");
        require(world.defaultOutputUID() == session->aggregateUID,
                "sound goes to " + world.defaultOutputUID());
        require(world.alertOutputUID() == session->aggregateUID, "alerts go to " + world.alertOutputUID());
        return result;
    }
    require(!view.hasRecord, "a record without a session");
    require(aggregates.empty() || context.mayLeaveAggregate, "an aggregate is left");
    require(isOneOf(context.defaultOutputs, world.defaultOutputUID()),
            "sound goes to " + world.defaultOutputUID());
    require(isOneOf(context.alertOutputs, world.alertOutputUID()), "alerts go to " + world.alertOutputUID());
    return result;
}

/// The invariants that are violated, in words.
inline std::vector<std::string> violations(const Program& program, const InvariantContext& context = {}) {
    auto result = violations(
        SessionView{program.machine, program.session, program.store.loadRecoveryState().has_value()},
        context);
    const std::size_t listeners = program.machine.world.listenerCount();
    if (listeners != 2) result.push_back(std::to_string(listeners) + " listeners");
    return result;
}

} // namespace velto
