// RecoveryState: what the next launch needs to undo a session that was never ended.
//
// Written before the session touches anything, removed when it has ended.
#pragma once

#include "VeltoCore/Foundation/Data.h"
#include "VeltoCore/Foundation/Date.h"
#include "VeltoCore/Foundation/DecodingError.h"

#include <expected>
#include <optional>
#include <string>

namespace velto {

struct RecoveryState {
    std::string aggregateUID;
    /// The default output before the session; absent when it could not be read or was our aggregate already.
    std::optional<std::string> previousDefaultOutputUID = std::nullopt;
    /// The alert output before the session; absent likewise.
    std::optional<std::string> previousSystemOutputUID = std::nullopt;
    std::string firstDeviceUID;
    std::string secondDeviceUID;
    /// When the record was written.
    Date startedAt;

    friend bool operator==(const RecoveryState&, const RecoveryState&) = default;
};

/// The record as one JSON object; none when it can't be expressed (a date that is not a finite number).
std::optional<Data> encodeRecoveryState(const RecoveryState& state);
std::expected<RecoveryState, DecodingError> decodeRecoveryState(const Data& data);

} // namespace velto
