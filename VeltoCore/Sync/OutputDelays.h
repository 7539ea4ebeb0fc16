// OutputDelays: what must be done to each output so that all are heard as a profile says. Pure.
#pragma once

#include "VeltoCore/Sync/SyncProfile.h"

#include <map>
#include <string>

namespace velto {

/// How much later each output plays than it would, in milliseconds, by UID.
using OutputDelays = std::map<std::string, double>;

/// The longest, in milliseconds.
inline constexpr double longestOutputDelay = 1'000;
/// What delays are told apart by, in milliseconds.
inline constexpr double outputDelayStep = 0.1;

/// For the profile's devices. Only differences between corrections matter: the least is no delay at all, so
/// that nothing is delayed without need. In whole steps; what is not a number is none; what is too long is as
/// long as can be, and said in the log.
OutputDelays outputDelays(const SyncProfile& profile);

/// What corrections look like to a person who turns them: as they were given, but none before all others.
OutputDelays shownDelays(const SyncProfile& profile);

} // namespace velto
