// The program's version, as its bundle gives it.
#pragma once

#include "VeltoCore/Services/ApplicationHost.h"

#include <string>

namespace velto {

/// Such as "1.2"; "dev" when the bundle has none. So is the number.
std::string shortVersion(const ApplicationHost& host);
std::string buildNumber(const ApplicationHost& host);

} // namespace velto
