// The words of a Mac.
#pragma once

#include "VeltoCore/Services/PlatformWords.h"

namespace velto {

const PlatformWords& macWords() noexcept;

} // namespace velto
