// The module that draws the windows, loaded when one is first opened.
#pragma once

#include "Velto/Qt/UserInterface.h"

#include <memory>

namespace velto {

/// From the module beside the program, or from where an installed program keeps it. Throws
/// std::runtime_error.
std::unique_ptr<UserInterface> loadUserInterface(UserInterface::Context context);

} // namespace velto

extern "C" {
/// What the module exports. The caller owns the result.
velto::UserInterface* veltoMakeUserInterface(velto::UserInterface::Context* context);
}
