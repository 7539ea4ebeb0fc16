#include "Velto/Shell/AppLifecycleController.h"

namespace velto {

AppLifecycleController::AppLifecycleController(DualOutputCoordinator& coordinator,
                                               PreferencesManager& preferences, const Logger& logger,
                                               MainActor& actor, const PlatformWords& words)
    : coordinator_(coordinator), preferences_(preferences), logger_(logger), actor_(actor), words_(words),
      tasks_(actor) {}

void AppLifecycleController::willSleep() {
    logger_.notice("{} is going to sleep", publicText(words_.computer));
}

void AppLifecycleController::didWake() {
    logger_.notice("{} woke from sleep", publicText(words_.computer));
    tasks_.spawn(handleWakeLater());
}

Task<void> AppLifecycleController::handleWakeLater() {
    co_await actor_.sleep(wakeDelay);
    preferences_.synchronize();
    coordinator_.handleWake();
}

} // namespace velto
