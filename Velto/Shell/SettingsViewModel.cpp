#include "Velto/Shell/SettingsViewModel.h"

#include "Velto/Shell/BundleInfo.h"
#include "Velto/Shell/LargestCorrection.h"
#include "Velto/Shell/SettingsTexts.h"
#include "VeltoCore/Aggregate/ClockStrategy.h"
#include "VeltoCore/Aggregate/PreferredSampleRate.h"
#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <fmt/format.h>

#include <cmath>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::ui;

constexpr double syncTestDuration = 6.0; // in seconds
constexpr double syncTestInterval = 0.5;

} // namespace

SettingsViewModel::SettingsViewModel(PreferencesManager& preferences, LaunchAtLoginManager& launchAtLogin,
                                     SyncProfileManager& syncProfiles, SyncTestPlayer& syncTestPlayer,
                                     DualOutputCoordinator& coordinator, SystemAudioManager& systemAudio,
                                     AudioDeviceManager& deviceManager, ApplicationHost& host,
                                     MainActor& actor)
    : changes_(actor), preferences_(preferences), launchAtLogin_(launchAtLogin), syncProfiles_(syncProfiles),
      syncTestPlayer_(syncTestPlayer), coordinator_(coordinator), systemAudio_(systemAudio),
      deviceManager_(deviceManager), host_(host), tasks_(actor) {
    changes_.keep(preferences.observe(changes_.handler()));
    changes_.keep(launchAtLogin.observeIsEnabled(changes_.handler()));
    changes_.keep(launchAtLogin.observeRequiresApproval(changes_.handler()));
    changes_.keep(launchAtLogin.observeLastError(changes_.handler()));
    changes_.keep(syncProfiles.observeProfiles(changes_.handler()));
    changes_.keep(syncTestPlayer.observeIsPlaying(changes_.handler()));
    changes_.keep(coordinator.observe(changes_.handler()));
    changes_.keep(deviceManager.observeDevices(changes_.handler()));
    changes_.keep(deviceManager.observeDefaultOutputDevice(changes_.handler()));
}

// Launch at login

std::optional<std::string> SettingsViewModel::launchAtLoginNote() const {
    if (!launchAtLogin_.isAvailable()) return std::string(SettingsTexts::launchAtLoginUnavailable);
    if (launchAtLogin_.requiresApproval()) return std::string(SettingsTexts::launchAtLoginNeedsApproval);
    return launchAtLogin_.lastError();
}

// Preferences

void SettingsViewModel::setShowInDock(bool isOn) {
    preferences_.setShowInDock(isOn);
    host_.setActivationPolicy(isOn ? ApplicationHost::ActivationPolicy::regular
                                   : ApplicationHost::ActivationPolicy::accessory);
}

std::vector<SettingChoice> SettingsViewModel::disconnectBehaviorChoices() {
    std::vector<SettingChoice> choices;
    for (const DisconnectBehavior behavior : allDisconnectBehaviors)
        choices.push_back({std::string(rawValue(behavior)), std::string(title(behavior))});
    return choices;
}

std::string SettingsViewModel::disconnectBehavior() const {
    return std::string(rawValue(preferences_.disconnectBehavior()));
}

void SettingsViewModel::setDisconnectBehavior(std::string_view rawValue) {
    if (const auto behavior = velto::disconnectBehavior(rawValue))
        preferences_.setDisconnectBehavior(*behavior);
}

std::vector<SettingChoice> SettingsViewModel::clockStrategyChoices() {
    std::vector<SettingChoice> choices;
    for (const ClockStrategy strategy : allClockStrategies)
        choices.push_back({std::string(rawValue(strategy)), std::string(title(strategy)),
                           std::string(explanation(strategy))});
    return choices;
}

std::string SettingsViewModel::clockStrategy() const {
    return std::string(rawValue(preferences_.clockStrategy()));
}

void SettingsViewModel::setClockStrategy(std::string_view rawValue) {
    if (const auto strategy = velto::clockStrategy(rawValue)) preferences_.setClockStrategy(*strategy);
}

std::vector<SampleRateChoice> SettingsViewModel::preferredSampleRateChoices() {
    std::vector<SampleRateChoice> choices;
    for (const PreferredSampleRate rate : allPreferredSampleRates)
        choices.push_back({rawValue(rate), std::string(title(rate))});
    return choices;
}

double SettingsViewModel::preferredSampleRate() const { return rawValue(preferences_.preferredSampleRate()); }

void SettingsViewModel::setPreferredSampleRate(double rawValue) {
    if (const auto rate = velto::preferredSampleRate(rawValue)) preferences_.setPreferredSampleRate(*rate);
}

std::vector<SettingChoice> SettingsViewModel::referenceDeviceChoices() const {
    std::vector<SettingChoice> choices{{"", "None"}};
    const std::string chosen = defaultReferenceDeviceUID();
    bool isListed = chosen.empty();
    for (const AudioOutputDevice& device : deviceManager_.selectableDevices()) {
        choices.push_back({device.uid, device.name});
        isListed = isListed || device.uid == chosen;
    }
    if (!isListed) choices.push_back({chosen, deviceName(chosen)});
    return choices;
}

std::string SettingsViewModel::defaultReferenceDeviceUID() const {
    return preferences_.defaultReferenceDeviceUID().value_or("");
}

void SettingsViewModel::setDefaultReferenceDeviceUID(std::string uid) {
    preferences_.setDefaultReferenceDeviceUID(uid.empty() ? std::nullopt : std::optional(std::move(uid)));
}

// Sync

void SettingsViewModel::startSyncTest() {
    syncTestPlayer_.start(preferences_.syncTestVolume(), syncTestDuration, syncTestInterval);
}

std::vector<SyncProfileRow> SettingsViewModel::syncProfileRows() const {
    std::vector<SyncProfileRow> rows;
    for (const SyncProfile& profile : syncProfiles_.profiles()) {
        std::string names;
        for (const std::string& uid : profile.deviceUIDs)
            names += (names.empty() ? "" : " + ") + deviceName(uid);
        rows.push_back({.id = profile.id,
                        .names = std::move(names),
                        .summary = fmt::format("{:.0f} ms {}", std::round(largestCorrection(profile)),
                                               rawValue(profile.kind))});
    }
    return rows;
}

void SettingsViewModel::removeSyncProfile(const std::string& id) {
    // The key of a single UID is that UID: so this finds the profile even where its key is not that of its
    // devices.
    syncProfiles_.remove({id});
}

/// As it is called now, else as a preset remembers it; the UID where nobody knows.
std::string SettingsViewModel::deviceName(const std::string& uid) const {
    if (const auto device = deviceManager_.device(uid)) return device->name;
    for (const AudioPreset& preset : preferences_.presets()) {
        if (preset.first.uid == uid) return preset.first.name;
        if (preset.second.uid == uid) return preset.second.name;
    }
    return uid;
}

// Reset

Task<void> SettingsViewModel::resetAudioConfiguration() {
    if (!changes_.set(isResetting_, true)) co_return;
    co_await coordinator_.resetAudioConfiguration();
    changes_.set(isResetting_, false);
}

// About

std::string SettingsViewModel::shortVersion() const { return velto::shortVersion(host_); }

std::string SettingsViewModel::buildNumber() const { return velto::buildNumber(host_); }

// Debug report (its rows: SettingsViewModelReport.cpp)

void SettingsViewModel::copyDebugInfo() {
    std::string text = "Velto Debug Information";
    for (const DebugRow& row : debugRows())
        text += "\n" + row.title + ": " + row.value;
    host_.setPasteboardText(text);
    changes_.set(didCopyDebugInfo_, true);
    logger.info("Copied debug information");
}

} // namespace velto
