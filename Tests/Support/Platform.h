// What a program is given by the machine that it is tested on.
#pragma once

#include "Simulation/SimulatedAudioEngine.h"
#include "Tests/Support/Machine.h"
#include "Velto/Shell/PlatformServices.h"

#include <memory>

namespace velto {

/// With other defaults than the machine's where they are given.
inline PlatformServices platformOf(Machine& machine, const TextCollation& collation,
                                   UserDefaults* defaults = nullptr) {
    return {.actor = machine.loop,
            .client = std::shared_ptr<CoreAudioClient>(std::shared_ptr<void>(), &machine.world), // not owned
            .defaults = defaults ? *defaults : machine.defaults,
            .collation = collation,
            .loginItems = machine.loginItems,
            .host = machine.desktop,
            .notifications = machine.notifications,
            .makeAudioEngine = [](CoreAudioClient&) { return std::make_unique<SimulatedAudioEngine>(); },
            .shortcuts = &machine.shortcuts,
            .microphone = std::make_unique<SimulatedMicrophone>(machine.loop, machine.world, machine.room)};
}

} // namespace velto
