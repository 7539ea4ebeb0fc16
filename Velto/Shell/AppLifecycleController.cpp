#include "Velto/Shell/AppLifecycleController.h"

namespace velto {

AppLifecycleController::AppLifecycleController(DualOutputCoordinator& coordinator,
                                               PreferencesManager& preferences, const Logger& logger,
                                               MainActor& actor)
    : coordinator_(coordinator), preferences_(preferences), logger_(logger), actor_(actor), tasks_(actor) {}

void AppLifecycleController::willSleep() { logger_.notice("Mac is going to sleep"); }

void AppLifecycleController::didWake() {
    logger_.notice("Mac woke from sleep");
    tasks_.spawn(handleWakeLater());
}

Task<void> AppLifecycleController::handleWakeLater() {
    co_await actor_.sleep(wakeDelay);
    preferences_.synchronize();
    coordinator_.handleWake();
}

} // namespace velto
