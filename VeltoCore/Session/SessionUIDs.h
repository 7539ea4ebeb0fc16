// SessionUIDs: which outputs a session is about, for those who only compare them.
//
// Made from a session that runs, or from the record of one that could not be ended.
#pragma once

#include "VeltoCore/Recovery/RecoveryState.h"
#include "VeltoCore/Session/DualOutputSession.h"

#include <optional>
#include <string>

namespace velto {

struct SessionUIDs {
    std::string first;
    std::string second;
    /// The default output before the session; absent when it could not be read.
    std::optional<std::string> previousDefault;

    static SessionUIDs of(const DualOutputSession& session) {
        return {session.first.uid, session.second.uid, session.previousDefaultOutputUID};
    }
    static SessionUIDs of(const RecoveryState& record) {
        return {record.firstDeviceUID, record.secondDeviceUID, record.previousDefaultOutputUID};
    }
    bool contains(const std::string& uid) const noexcept { return uid == first || uid == second; }

    friend bool operator==(const SessionUIDs&, const SessionUIDs&) = default;
};

} // namespace velto
