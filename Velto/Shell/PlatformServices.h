// PlatformServices: all that the application is given by the platform it runs on, or by a simulation of one.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Services/ApplicationHost.h"
#include "VeltoCore/Services/GlobalShortcutService.h"
#include "VeltoCore/Services/LoginItemService.h"
#include "VeltoCore/Services/NotificationService.h"
#include "VeltoCore/Services/TextCollation.h"
#include "VeltoCore/Services/UserDefaults.h"
#include "VeltoCore/Sync/AudioEngine.h"
#include "VeltoCore/Sync/Microphone.h"

#include <functional>
#include <memory>

namespace velto {

/// What is given by reference must outlive the application.
struct PlatformServices {
    /// The loop, and both clocks.
    MainActor& actor;
    /// The one client that all users of the hardware share. The application keeps it.
    std::shared_ptr<CoreAudioClient> client;
    UserDefaults& defaults;
    const TextCollation& collation;
    LoginItemService& loginItems;
    ApplicationHost& host;
    NotificationService& notifications;
    /// Called once; the client is the shared one.
    std::function<std::unique_ptr<AudioEngine>(CoreAudioClient& client)> makeAudioEngine;
    /// Null where the platform has none.
    GlobalShortcutService* shortcuts = nullptr;
    /// Null where the platform can't measure its outputs.
    std::unique_ptr<Microphone> microphone = nullptr;
};

} // namespace velto
