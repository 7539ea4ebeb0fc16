#include "VeltoCore/Settings/PreferencesManager.h"

#include "VeltoCore/Settings/PresetName.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velto {

namespace {

std::vector<AudioPreset> presetsWhere(const std::vector<AudioPreset>& presets, auto isWanted) {
    std::vector<AudioPreset> result;
    std::ranges::copy_if(presets, std::back_inserter(result), isWanted);
    return result;
}

} // namespace

PreferencesManager::PreferencesManager(UserDefaults& defaults, const Clock& clock)
    : store_{defaults}, clock_(clock), recoveryStore_(defaults),
      writeFailureSubscription_(defaults.observeWriteFailure([this] { store_.observers.notify(); })) {
    if (const auto data = defaults.dataValue(presetsKey))
        presets_ = decodePresets(*data).value_or(std::vector<AudioPreset>());
    lastPresetID.set(lastPresetID()); // what is no UUID is removed from the store by this
}

void PreferencesManager::setPresets(std::vector<AudioPreset> presets) {
    if (presets == presets_) return;
    presets_ = std::move(presets);
    if (auto data = encodePresets(presets_)) {
        store_.defaults.set(presetsKey, std::move(*data));
    } else { // a list that can't be expressed is dropped from the store rather than left there stale
        store_.defaults.remove(presetsKey);
    }
    store_.notify(presetObservers_);
}

std::vector<AudioPreset> PreferencesManager::userPresets() const {
    return presetsWhere(presets_, [](const AudioPreset& preset) { return !preset.isLastUsed(); });
}

std::optional<AudioPreset> PreferencesManager::lastPreset() const {
    return lastPresetID() ? preset(*lastPresetID()) : std::nullopt;
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
    if (!isPresetName(to)) return;
    changePreset(id, [to](AudioPreset& preset) { preset.name = trimmed(to); });
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
    if (lastPresetID() == removed) lastPresetID.set(std::nullopt);
}

void PreferencesManager::rememberLastUsed(const AudioOutputDevice& first, const AudioOutputDevice& second) {
    if (!rememberSelectedDevices()) return;
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
    lastPresetID.set(id);
}

std::vector<AutomationRule> PreferencesManager::automationRules() const {
    std::vector<AutomationRule> rules;
    for (const AudioPreset& preset : presets_) {
        if (preset.isLastUsed() || !preset.autoConnect) continue;
        rules.push_back({.id = preset.id,
                         .isEnabled = autoConnect(),
                         .trigger = AutomationRule::DevicesAvailable{{preset.first.uid, preset.second.uid}},
                         .action = AutomationRule::ActivatePreset{preset.id}});
    }
    return rules;
}

} // namespace velto
