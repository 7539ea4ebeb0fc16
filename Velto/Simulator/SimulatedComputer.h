// SimulatedComputer: a whole computer that Velto can run on without any hardware: outputs, settings, sleep.
//
// Owned by the simulator's entry point, or a test; main actor only. Nothing outlives it but what it is given.
#pragma once

#include "Platform/Linux/LinuxApplicationHost.h"
#include "Simulation/InMemoryUserDefaults.h"
#include "Simulation/SimulatedAudioSystem.h"
#include "Simulation/SimulatedLoginItemService.h"
#include "Simulation/SimulatedMicrophone.h"
#include "Simulation/SimulatedNotificationService.h"
#include "Simulation/SimulatedShortcutService.h"
#include "Velto/Shell/PlatformServices.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Services/SleepMonitor.h"
#include "VeltoCore/Services/TextCollation.h"

#include <memory>

namespace velto {

class SimulatedComputer {
  public:
    /// Both must outlive the computer.
    SimulatedComputer(MainActor& actor, const TextCollation& collation);

    /// Some outputs of every kind, the built-in speakers among them, and a microphone.
    void plugUsualDevices();

    /// What Velto runs on.
    PlatformServices platform();
    SimulatedAudioSystem& world() { return *world_; }
    InMemoryUserDefaults& defaults() { return defaults_; }
    SimulatedLoginItemService& loginItems() { return loginItems_; }
    /// Where its microphone stands.
    SimulatedRoom& room() { return room_; }
    LinuxApplicationHost& host() { return host_; }
    SimulatedNotificationService& notifications() { return notifications_; }
    MainActor& actor() { return actor_; }

    /// The machine announces that it falls asleep, or that it woke.
    void fallAsleep();
    void wakeUp();

  private:
    struct Sleep final : SleepMonitor {
        void observe(SleepObserver newObserver) override { observer = std::move(newObserver); }
        SleepObserver observer;
    };

    MainActor& actor_;
    const TextCollation& collation_;
    std::shared_ptr<SimulatedAudioSystem> world_;
    SimulatedRoom room_;
    InMemoryUserDefaults defaults_;
    SimulatedLoginItemService loginItems_;
    Sleep sleep_;
    LinuxApplicationHost host_{sleep_};
    SimulatedNotificationService notifications_;
    SimulatedShortcutService shortcuts_;
};

} // namespace velto
