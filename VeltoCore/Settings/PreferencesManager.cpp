#include "VeltoCore/Settings/PreferencesManager.h"

#include "VeltoCore/Foundation/TrimmedText.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velto {

namespace {

/// Also of what is no number: the click is never louder than it was meant to be.
float clampedVolume(double volume) { return volume > 0 ? static_cast<float>(std::min(volume, 1.0)) : 0.0F; }

std::string effectiveName(std::string_view typed) {
    const std::string_view name = trimmed(typed);
    return std::string(name.empty() ? "Velto Output" : name);
}

std::vector<AudioPreset> presetsWhere(const std::vector<AudioPreset>& presets, auto isWanted) {
    std::vector<AudioPreset> result;
    std::ranges::copy_if(presets, std::back_inserter(result), isWanted);
    return result;
}

} // namespace

PreferencesManager::PreferencesManager(UserDefaults& defaults, const Clock& clock)
    : defaults_(defaults), clock_(clock), recoveryStore_(defaults),
      writeFailureSubscription_(defaults.observeWriteFailure([this] { observersOfAll_.notify(); })) {
    registerDefaults();
    readSettings();
    readPresets();
}

void PreferencesManager::registerDefaults() {
    defaults_.registerDefaults({
        {std::string(Key::rememberSelectedDevices), rememberSelectedDevices_},
        {std::string(Key::autoReconnect), autoReconnect_},
        {std::string(Key::preferredSampleRate), rawValue(preferredSampleRate_)},
        {std::string(Key::aggregateDeviceName), aggregateDeviceName_},
        {std::string(Key::clockStrategy), std::string(rawValue(clockStrategy_))},
        {std::string(Key::disconnectBehavior), std::string(rawValue(disconnectBehavior_))},
        {std::string(Key::autoConnect), autoConnect_},
        {std::string(Key::showInDock), showInDock_},
        {std::string(Key::rememberSyncProfiles), rememberSyncProfiles_},
        {std::string(Key::syncTestVolume), static_cast<double>(syncTestVolume_)},
        {std::string(Key::hasCompletedOnboarding), hasCompletedOnboarding_},
    });
}

void PreferencesManager::readSettings() {
    const auto readBool = [&](bool& setting, std::string_view key) {
        setting = defaults_.boolValue(key).value_or(setting);
    };
    readBool(rememberSelectedDevices_, Key::rememberSelectedDevices);
    readBool(autoReconnect_, Key::autoReconnect);
    readBool(autoConnect_, Key::autoConnect);
    readBool(showInDock_, Key::showInDock);
    readBool(rememberSyncProfiles_, Key::rememberSyncProfiles);
    readBool(hasCompletedOnboarding_, Key::hasCompletedOnboarding);

    preferredSampleRate_ = defaults_.doubleValue(Key::preferredSampleRate)
                               .and_then(velto::preferredSampleRate)
                               .value_or(preferredSampleRate_);
    aggregateDeviceName_ = defaults_.stringValue(Key::aggregateDeviceName).value_or(aggregateDeviceName_);
    clockStrategy_ =
        defaults_.stringValue(Key::clockStrategy).and_then(velto::clockStrategy).value_or(clockStrategy_);
    disconnectBehavior_ = defaults_.stringValue(Key::disconnectBehavior)
                              .and_then(velto::disconnectBehavior)
                              .value_or(disconnectBehavior_);
    defaultReferenceDeviceUID_ = defaults_.stringValue(Key::defaultReferenceDeviceUID);
    syncTestVolume_ = clampedVolume(defaults_.doubleValue(Key::syncTestVolume).value_or(syncTestVolume_));
}

void PreferencesManager::readPresets() {
    if (const auto data = defaults_.dataValue(Key::presets))
        presets_ = decodePresets(*data).value_or(std::vector<AudioPreset>());
    // What is no UUID is removed from the store by this.
    setLastPresetID(defaults_.stringValue(Key::lastPresetID).and_then(UUID::fromString));
}

Subscription PreferencesManager::observe(std::string_view key, std::function<void()> handler) {
    return observers_[key].observe(std::move(handler));
}

Subscription PreferencesManager::observe(std::function<void()> handler) {
    return observersOfAll_.observe(std::move(handler));
}

void PreferencesManager::notify(std::string_view key) {
    if (const auto found = observers_.find(key); found != observers_.end()) found->second.notify();
    observersOfAll_.notify();
}

template <class T>
void PreferencesManager::assign(T& property, T value, std::string_view key,
                                std::optional<DefaultsValue> stored) {
    const bool isChanged = property != value;
    property = std::move(value);
    if (stored) {
        defaults_.set(key, std::move(*stored));
    } else {
        defaults_.remove(key);
    }
    if (isChanged) notify(key);
}

void PreferencesManager::setRememberSelectedDevices(bool isOn) {
    assign(rememberSelectedDevices_, isOn, Key::rememberSelectedDevices, isOn);
}

void PreferencesManager::setAutoReconnect(bool isOn) {
    assign(autoReconnect_, isOn, Key::autoReconnect, isOn);
}

void PreferencesManager::setPreferredSampleRate(PreferredSampleRate rate) {
    assign(preferredSampleRate_, rate, Key::preferredSampleRate, rawValue(rate));
}

void PreferencesManager::setAggregateDeviceName(std::string name) {
    std::string stored = effectiveName(name);
    assign(aggregateDeviceName_, std::move(name), Key::aggregateDeviceName, std::move(stored));
}

std::string PreferencesManager::effectiveAggregateDeviceName() const {
    return effectiveName(aggregateDeviceName_);
}

void PreferencesManager::setClockStrategy(ClockStrategy strategy) {
    assign(clockStrategy_, strategy, Key::clockStrategy, std::string(rawValue(strategy)));
}

void PreferencesManager::setDisconnectBehavior(DisconnectBehavior behavior) {
    assign(disconnectBehavior_, behavior, Key::disconnectBehavior, std::string(rawValue(behavior)));
}

void PreferencesManager::setAutoConnect(bool isOn) { assign(autoConnect_, isOn, Key::autoConnect, isOn); }

void PreferencesManager::setShowInDock(bool isOn) { assign(showInDock_, isOn, Key::showInDock, isOn); }

void PreferencesManager::setRememberSyncProfiles(bool isOn) {
    assign(rememberSyncProfiles_, isOn, Key::rememberSyncProfiles, isOn);
}

void PreferencesManager::setDefaultReferenceDeviceUID(std::optional<std::string> uid) {
    auto stored = uid;
    assign(defaultReferenceDeviceUID_, std::move(uid), Key::defaultReferenceDeviceUID, std::move(stored));
}

void PreferencesManager::setSyncTestVolume(float volume) {
    const float clamped = clampedVolume(volume);
    assign(syncTestVolume_, clamped, Key::syncTestVolume, static_cast<double>(clamped));
}

void PreferencesManager::setHasCompletedOnboarding(bool isDone) {
    assign(hasCompletedOnboarding_, isDone, Key::hasCompletedOnboarding, isDone);
}

void PreferencesManager::setPresets(std::vector<AudioPreset> presets) {
    if (presets == presets_) return;
    presets_ = std::move(presets);
    persistPresets();
    notify(Key::presets);
}

/// A list that can't be expressed is dropped from the store rather than left there stale.
void PreferencesManager::persistPresets() {
    if (auto data = encodePresets(presets_)) {
        defaults_.set(Key::presets, std::move(*data));
    } else {
        defaults_.remove(Key::presets);
    }
}

std::vector<AudioPreset> PreferencesManager::userPresets() const {
    return presetsWhere(presets_, [](const AudioPreset& preset) { return !preset.isLastUsed(); });
}

std::vector<AudioPreset> PreferencesManager::favoritePresets() const {
    return presetsWhere(presets_,
                        [](const AudioPreset& preset) { return !preset.isLastUsed() && preset.isFavorite; });
}

void PreferencesManager::setLastPresetID(std::optional<UUID> id) {
    assign(lastPresetID_, id, Key::lastPresetID, id.transform(&UUID::string));
}

std::optional<AudioPreset> PreferencesManager::lastPreset() const {
    return lastPresetID_ ? preset(*lastPresetID_) : std::nullopt;
}

std::optional<AudioPreset> PreferencesManager::preset(const UUID& id) const {
    const auto found = std::ranges::find(presets_, id, &AudioPreset::id);
    return found == presets_.end() ? std::nullopt : std::optional(*found);
}

void PreferencesManager::savePreset(AudioPreset preset) {
    preset.updatedAt = clock_.now();
    auto presets = presets_;
    const auto found = std::ranges::find(presets, preset.id, &AudioPreset::id);
    if (found == presets.end()) {
        presets.push_back(std::move(preset));
    } else {
        *found = std::move(preset);
    }
    setPresets(std::move(presets));
}

template <class Change>
void PreferencesManager::changePreset(const UUID& id, Change change) {
    auto changed = preset(id);
    if (!changed) return;
    change(*changed);
    savePreset(std::move(*changed));
}

void PreferencesManager::renamePreset(const UUID& id, std::string_view to) {
    const std::string_view name = trimmed(to);
    if (name.empty()) return;
    changePreset(id, [name](AudioPreset& preset) { preset.name = name; });
}

void PreferencesManager::setFavorite(bool isFavorite, const UUID& presetID) {
    changePreset(presetID, [isFavorite](AudioPreset& preset) { preset.isFavorite = isFavorite; });
}

void PreferencesManager::setAutoConnect(bool autoConnect, const UUID& presetID) {
    changePreset(presetID, [autoConnect](AudioPreset& preset) { preset.autoConnect = autoConnect; });
}

void PreferencesManager::removePreset(const UUID& id) {
    const UUID removed = id; // it may be that of an element
    setPresets(presetsWhere(presets_, [&](const AudioPreset& preset) { return preset.id != removed; }));
    if (lastPresetID_ == removed) setLastPresetID(std::nullopt);
}

void PreferencesManager::clearPresets() {
    const bool isChanged = !presets_.empty();
    presets_.clear();
    persistPresets(); // in any case: an unreadable list is gone then, too
    if (isChanged) notify(Key::presets);
    setLastPresetID(std::nullopt);
}

void PreferencesManager::rememberLastUsed(const AudioOutputDevice& first, const AudioOutputDevice& second) {
    if (!rememberSelectedDevices_) return;
    auto presets = presets_;
    auto lastUsed = std::ranges::find_if(presets, &AudioPreset::isLastUsed);
    if (lastUsed == presets.end()) {
        presets.push_back(
            AudioPreset::create(std::string(AudioPreset::lastUsedName), first, second, clock_.now()));
        lastUsed = std::prev(presets.end());
    } else {
        lastUsed->first = AudioPreset::DeviceReference::to(first);
        lastUsed->second = AudioPreset::DeviceReference::to(second);
    }
    const UUID id = lastUsed->id;
    setPresets(std::move(presets));
    setLastPresetID(id);
}

std::vector<AutomationRule> PreferencesManager::automationRules() const {
    std::vector<AutomationRule> rules;
    for (const AudioPreset& preset : presets_) {
        if (preset.isLastUsed() || !preset.autoConnect) continue;
        rules.push_back({.id = preset.id,
                         .isEnabled = autoConnect_,
                         .trigger = AutomationRule::DevicesAvailable{{preset.first.uid, preset.second.uid}},
                         .action = AutomationRule::ActivatePreset{preset.id}});
    }
    return rules;
}

} // namespace velto
