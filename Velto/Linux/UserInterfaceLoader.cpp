// Compiled into the program.
#include "Velto/Linux/UserInterfaceModule.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibrary>

#include <stdexcept>

namespace velto {

namespace {

/// Qt's windows default to a renderer that needs a graphics card; without one it ends the program.
void chooseRenderer() {
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) qputenv("QT_QUICK_BACKEND", "software");
}

} // namespace

std::unique_ptr<UserInterface> loadUserInterface(UserInterface::Context context) {
    chooseRenderer();
    const QString folder = QCoreApplication::applicationDirPath();
    QString file = folder + QStringLiteral("/velto-windows.so");
    if (!QFileInfo::exists(file)) file = folder + QStringLiteral("/../lib/velto/velto-windows.so");
    QLibrary module(file); // never unloaded: what it made outlives this function
    module.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    const auto make =
        reinterpret_cast<decltype(&veltoMakeUserInterface)>(module.resolve("veltoMakeUserInterface"));
    if (!make)
        throw std::runtime_error("The windows could not be loaded: " + module.errorString().toStdString());
    return std::unique_ptr<UserInterface>(make(&context));
}

} // namespace velto
