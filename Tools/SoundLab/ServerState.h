// What of a private sound server is not Velto's to change for good, seen from outside.
#pragma once

#include "Tools/SoundLab/PrivateSoundServer.h"
#include "Tools/SoundLab/SoundLab.h"

#include <map>
#include <string>
#include <vector>

namespace velto {

/// Chosen and default outputs, forced rate, notes that are left, the aggregate: what to compare.
std::map<std::string, std::string> serverState(SoundLab& lab);
/// Global entries of the server's stores that are Velto's.
std::vector<std::string> notesOnServer(SoundLab& lab);
/// What the session manager has stored under that name.
std::string storedText(const PrivateSoundServer& server, const std::string& name);
/// The outputs that were chosen, now and ever, as the session manager has stored them.
std::string storedChoices(const PrivateSoundServer& server);

} // namespace velto
