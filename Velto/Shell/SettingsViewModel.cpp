#include "Velto/Shell/SettingsViewModel.h"

#include "Velto/Shell/BundleInfo.h"
#include "Velto/Shell/LargestCorrection.h"
#include "Velto/Shell/SyncTest.h"
#include "VeltoCore/Services/LoggingService.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::ui;

} // namespace

SettingsViewModel::SettingsViewModel(PreferencesManager& preferences, LaunchAtLoginManager& launchAtLogin,
                                     SyncProfileManager& syncProfiles, SyncTestPlayer& syncTestPlayer,
                                     DualOutputCoordinator& coordinator, AudioDeviceManager& deviceManager,
                                     ApplicationHost& host, GlobalShortcutService* shortcuts,
                                     MainActor& actor)
    : changes_(actor), preferences_(preferences), launchAtLogin_(launchAtLogin), syncProfiles_(syncProfiles),
      syncTestPlayer_(syncTestPlayer), coordinator_(coordinator), host_(host), actor_(actor),
      shortcuts_(shortcuts), list_(preferences, launchAtLogin, deviceManager, host, shortcuts),
      report_(preferences, coordinator, deviceManager, host), tasks_(actor) {
    changes_.keep(preferences.observe(changes_.handler()));
    changes_.keep(launchAtLogin.observeIsEnabled(changes_.handler()));
    changes_.keep(launchAtLogin.observeRequiresApproval(changes_.handler()));
    changes_.keep(launchAtLogin.observeLastError(changes_.handler()));
    changes_.keep(syncProfiles.observeProfiles(changes_.handler()));
    changes_.keep(syncTestPlayer.observeIsPlaying(changes_.handler()));
    changes_.keep(coordinator.observe(changes_.handler()));
    changes_.keep(deviceManager.observeDevices(changes_.handler()));
    changes_.keep(deviceManager.observeDefaultOutputDevice(changes_.handler()));
    if (shortcuts) changes_.keep(shortcuts->observe(changes_.handler()));
}

void SettingsViewModel::inquireShortcuts() {
    if (shortcuts_) shortcuts_->inquire();
}

// Sync

void SettingsViewModel::startSyncTest() { velto::startSyncTest(syncTestPlayer_, preferences_); }

std::vector<SyncProfileRow> SettingsViewModel::syncProfileRows() const {
    std::vector<SyncProfileRow> rows;
    for (const SyncProfile& profile : syncProfiles_.profiles()) {
        std::string names;
        for (const std::string& uid : profile.deviceUIDs)
            names += (names.empty() ? "" : " + ") + list_.outputName(uid);
        rows.push_back({.id = profile.id,
                        .names = std::move(names),
                        .summary = fmt::format("{:.0f} ms {}", std::round(largestCorrection(profile)),
                                               rawValue(profile.kind))});
    }
    return rows;
}

void SettingsViewModel::removeSyncProfile(const std::string& id) { syncProfiles_.remove(id); }

// Reset

Task<void> SettingsViewModel::resetAudioConfiguration() {
    if (!changes_.set(isResetting_, true)) co_return;
    co_await coordinator_.resetAudioConfiguration();
    changes_.set(isResetting_, false);
}

// About

std::string SettingsViewModel::shortVersion() const { return velto::shortVersion(host_); }

std::string SettingsViewModel::buildNumber() const { return velto::buildNumber(host_); }

// Debug report

void SettingsViewModel::copy(const std::string& report) {
    host_.setPasteboardText(report);
    changes_.set(didCopyDebugInfo_, true);
    tasks_.spawn(tellOfCopy());
    logger.info("Copied debug information");
}

Task<void> SettingsViewModel::tellOfCopy() {
    changes_.set(justCopiedDebugInfo_, true);
    const int copy = ++copyCount_;
    co_await actor_.sleep(std::chrono::seconds(2));
    if (copy == copyCount_) changes_.set(justCopiedDebugInfo_, false);
}

} // namespace velto
