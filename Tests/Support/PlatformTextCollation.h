// The order of names as the platform that the tests run on has it.
#pragma once

#include "VeltoCore/Services/TextCollation.h"

#include <memory>

namespace velto {

std::unique_ptr<TextCollation> makePlatformTextCollation();

} // namespace velto
