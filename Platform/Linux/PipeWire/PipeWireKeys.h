// PipeWireKeys: names that Velto leaves in the sound server, so that a later run can find and undo them.
#pragma once

namespace velto::PipeWireKey {

// The session manager's and the server's own keys.
inline constexpr const char* defaultSink = "default.audio.sink";
inline constexpr const char* configuredSink = "default.configured.audio.sink";
inline constexpr const char* rate = "clock.rate";
inline constexpr const char* forcedRate = "clock.force-rate";
inline constexpr const char* streamTarget = "target.object";
inline constexpr const char* streamTargetNode = "target.node"; // the older form, which yields to the newer

/// Property of an aggregate's node: its composition, as JSON.
inline constexpr const char* composition = "velto.composition";
/// Object path of every link that Velto makes, of those from an aggregate to its outputs: their mark.
inline constexpr const char* link = "velto.link";
/// "default" metadata: the alert output, where it isn't simply the default output.
inline constexpr const char* alertSink = "velto.alert.sink";
// Notes: "settings" metadata, which lives as long as the server. Each is what stood before an aggregate.
/// The configured output. Present but empty when nothing was configured.
inline constexpr const char* previousConfiguredSink = "velto.previous.configured.sink";
/// The alert output. Present but empty when alerts followed the default output.
inline constexpr const char* previousAlertSink = "velto.previous.alert.sink";
/// The forced rate.
inline constexpr const char* previousForcedRate = "velto.previous.force-rate";

} // namespace velto::PipeWireKey
