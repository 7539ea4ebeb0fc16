// Compiled into the desktop's module.
#include "Velto/Linux/ProgramModule.h"
#include "Velto/Linux/UserInterfaceModule.h"

#include <QtGlobal>

namespace velto {

namespace {

/// Qt's windows default to a renderer that needs a graphics card; without one it ends the program.
void chooseRenderer() {
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) qputenv("QT_QUICK_BACKEND", "software");
}

} // namespace

std::unique_ptr<UserInterface> loadUserInterface(UserInterface::Context context) {
    chooseRenderer();
    const auto make = reinterpret_cast<decltype(&veltoMakeUserInterface)>(
        programSymbol("velto-windows", "veltoMakeUserInterface"));
    return std::unique_ptr<UserInterface>(make(&context));
}

} // namespace velto
