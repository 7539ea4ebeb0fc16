// AppLifecycleController: what the program does when the machine falls asleep and wakes up.
//
// Made and owned by AppState alone; main actor only.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Services/PlatformWords.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Settings/PreferencesManager.h"

#include <chrono>

namespace velto {

class AppLifecycleController {
  public:
    /// What the audio hardware is given to reappear in after a wake.
    static constexpr Duration wakeDelay = std::chrono::seconds(2);

    /// All must outlive the controller.
    AppLifecycleController(DualOutputCoordinator& coordinator, PreferencesManager& preferences,
                           const Logger& logger, MainActor& actor, const PlatformWords& words);
    AppLifecycleController(const AppLifecycleController&) = delete;
    AppLifecycleController& operator=(const AppLifecycleController&) = delete;

    void willSleep();
    void didWake();

  private:
    Task<void> handleWakeLater();

    DualOutputCoordinator& coordinator_;
    PreferencesManager& preferences_;
    const Logger& logger_;
    MainActor& actor_;
    const PlatformWords& words_;
    TaskScope tasks_; // dies first: its tasks use the others
};

} // namespace velto
