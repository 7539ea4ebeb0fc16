// A platform's login item for a program that isn't installed: that which runs the tests, or one like it.
#pragma once

#include "VeltoCore/Services/LoginItemService.h"

#include <memory>

namespace velto {

std::unique_ptr<LoginItemService> makeLoginItemOfProgramNotInstalled();

} // namespace velto
