#include "Velto/Linux/LinuxApplication.h"

#include "Velto/Linux/DesktopStatusArea.h"
#include "Velto/Qt/Text.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QEvent>
#include <QGuiApplication>

#include <cmath>
#include <string_view>
#include <utility>

namespace velto {

LinuxApplication::LinuxApplication(AppDelegate& delegate, LinuxApplicationHost& host,
                                   UserInterfaceFactory makeUserInterface, WaitUntil waitUntil)
    : VeltoApplication(delegate, std::move(makeUserInterface)), host_(host),
      waitUntil_(std::move(waitUntil)) {
    qApp->installEventFilter(this);
    host_.setToolkitVersion(qVersion());
    host_.setHandlers(
        {.terminate =
             [this] {
                 isTerminated_ = true;
                 QCoreApplication::quit();
             },
         .copy = [](std::string_view text) { QGuiApplication::clipboard()->setText(toQString(text)); }});
}

LinuxApplication::~LinuxApplication() { host_.setHandlers({}); }

std::unique_ptr<StatusArea> LinuxApplication::makeStatusArea(std::function<void()> changed) {
    return std::make_unique<DesktopStatusArea>(std::move(changed));
}

bool LinuxApplication::dropsPanel() const {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

/// Plasma's; what others have, only they themselves may use.
void LinuxApplication::volumeWasSet(double volume) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    QDBusMessage call = QDBusMessage::createMethodCall("org.kde.plasmashell", "/org/kde/osdService",
                                                       "org.kde.osdService", "volumeChanged");
    call << static_cast<int>(std::lround(volume * 100));
    call.setAutoStartService(false);
    bus.send(call);
}

void LinuxApplication::endNow() {
    if (isTerminated_) return;
    host_.setHandlers({.terminate = [this] { isTerminated_ = true; }, .copy = {}});
    requestQuit();
    if (!waitUntil_([this] { return isTerminated_; }))
        LoggingService::ui.error("The session ended before all outputs were put back");
}

bool LinuxApplication::eventFilter(QObject* object, QEvent* event) {
    if (object == qApp && event->type() == QEvent::Quit) endNow();
    return false;
}

} // namespace velto
