// Compiled into the module.
#include "Velto/Linux/UserInterfaceModule.h"

#include "Velto/Qt/QuickUserInterface.h"

#include <utility>

extern "C" [[gnu::visibility("default")]] velto::UserInterface*
veltoMakeUserInterface(velto::UserInterface::Context* context) {
    return new velto::QuickUserInterface(std::move(*context));
}
