// The words of a Linux desktop.
#pragma once

#include "VeltoCore/Services/PlatformWords.h"

namespace velto {

const PlatformWords& linuxWords() noexcept;

} // namespace velto
