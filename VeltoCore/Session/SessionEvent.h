// SessionEvent: what came over playing together without anybody having asked Velto for it.
//
// Told by the coordinator when it is decided, for those who let the user know; what the user does himself is
// no such event.
#pragma once

#include <functional>
#include <string>

namespace velto {

struct SessionEvent {
    enum class Kind {
        /// The session goes on without that output.
        outputLost,
        /// The same, and the user is asked whether it is to go on.
        questionAsked,
        /// The session ends because that output is lost.
        endedByLostOutput,
        /// The session ended after all its outputs were lost.
        endedWithoutOutputs,
        /// Somebody chose that output: the session ends.
        endedByChoice,
        /// Auto Connect has started the preset of that name.
        presetStarted,
        /// What a session left that was not ended has been put back.
        recovered,
    };

    Kind kind;
    /// Of the output or the preset; empty where neither is meant.
    std::string name = {};

    friend bool operator==(const SessionEvent&, const SessionEvent&) = default;
};

using SessionEventHandler = std::function<void(const SessionEvent&)>;

} // namespace velto
