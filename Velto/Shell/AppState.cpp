#include "Velto/Shell/AppState.h"

#include "Velto/Shell/BundleInfo.h"
#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Sync/SystemMultiOutputEngine.h"
#include "VeltoCore/Sync/VeltoSyncEngine.h"

#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::lifecycle;

/// The best that the system can do.
std::unique_ptr<SyncEngine> makeSyncEngine(CoreAudioClient& client) {
    if (!client.supportsOutputDelays()) return std::make_unique<SystemMultiOutputEngine>();
    return std::make_unique<VeltoSyncEngine>(client, std::string(AggregateDeviceManager::aggregateUID));
}

} // namespace

AppState::AppState(PlatformServices platform)
    : platform_(std::move(platform)), preferences_(platform_.defaults, platform_.actor),
      deviceManager_(*platform_.client, platform_.actor, platform_.collation),
      aggregateManager_(*platform_.client, platform_.actor),
      systemAudio_(*platform_.client, deviceManager_, aggregateManager_, preferences_, platform_.actor),
      syncProfiles_(platform_.defaults, platform_.actor), volumeController_(*platform_.client),
      syncEngine_(makeSyncEngine(*platform_.client)),
      coordinator_(deviceManager_, systemAudio_, preferences_, volumeController_, *syncEngine_, syncProfiles_,
                   platform_.actor, platform_.host.words()),
      alignment_(platform_.actor, *platform_.client, coordinator_, syncProfiles_, preferences_,
                 std::move(platform_.microphone)),
      audioServiceMonitor_(*platform_.client, deviceManager_, volumeController_, coordinator_,
                           platform_.actor),
      launchAtLogin_(platform_.loginItems), audioEngine_(platform_.makeAudioEngine(*platform_.client)),
      syncTestPlayer_(platform_.actor, *audioEngine_),
      presets_(preferences_, coordinator_, deviceManager_, platform_.actor),
      menuBar_(*platform_.client, presets_, deviceManager_, coordinator_, preferences_, volumeController_,
               syncProfiles_, platform_.actor, platform_.host.words()),
      inStep_(coordinator_, deviceManager_, preferences_, syncProfiles_, syncTestPlayer_, platform_.actor),
      aligning_(alignment_, coordinator_, deviceManager_, platform_.actor),
      settings_(preferences_, launchAtLogin_, syncProfiles_, syncTestPlayer_, coordinator_, deviceManager_,
                platform_.host, platform_.shortcuts, platform_.actor),
      lifecycle_(coordinator_, preferences_, logger, platform_.actor, platform_.host.words()),
      notifications_(coordinator_, menuBar_, preferences_, platform_.notifications),
      shortcuts_(platform_.shortcuts, menuBar_, preferences_) {}

Task<void> AppState::launch() {
    if (isShuttingDown()) co_return;
    logger.notice("Velto {} launched", publicText(shortVersion(platform_.host)));
    settings_.list().applyShowInDock();
    audioServiceMonitor_.start(); // first: the service may come while an earlier run is cleaned up after
    co_await coordinator_.start();
    if (isShuttingDown()) co_return;
    menuBar_.applyLastPreset();
    menuBar_.subscribeToDeviceChanges();
    platform_.host.registerSleepObserver({.willSleep =
                                              [this] {
                                                  alignment_.willSleep();
                                                  lifecycle_.willSleep();
                                              },
                                          .didWake = [this] { lifecycle_.didWake(); }});
    shortcuts_.start();
    isLaunched_.set(true);
}

Task<void> AppState::prepareForTermination() {
    beginTermination();
    logger.notice("Velto terminating; playing: {}", coordinator_.state().isActive());
    syncTestPlayer_.stop();
    alignment_.cancel();
    platform_.host.removeSleepObserver();
    shortcuts_.stop();
    audioServiceMonitor_.stop();
    co_await coordinator_.shutdown();
    preferences_.synchronize();
}

} // namespace velto
