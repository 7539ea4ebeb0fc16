#include "VeltoCore/Session/SessionPreset.h"

#include "VeltoCore/Settings/PresetName.h"

#include <algorithm>

namespace velto {

namespace {

/// The master volume over these; none where no device has a volume.
std::optional<float> loudest(const SessionPreset::Settings& settings) {
    std::optional<float> volume;
    for (const auto& entry : settings)
        volume = std::max(volume, entry.second.volume); // none is less than any
    return volume;
}

} // namespace

SessionPreset::SessionPreset(const SystemAudioManager& systemAudio, PreferencesManager& preferences,
                             DeviceVolumeController& volumeController, const Clock& clock)
    : systemAudio_(systemAudio), preferences_(preferences), volumeController_(volumeController),
      clock_(clock), adjustments_(volumeController.observeAdjustments([this] {
          note();
          follow();
      })) {}

void SessionPreset::begin(std::optional<UUID> id, const Settings& settings) {
    id_.set(id);
    settings_.clear();
    sessionChanged();
    if (!settings.empty()) apply(settings);
}

void SessionPreset::sessionChanged() {
    if (const auto session = systemAudio_.activeSession()) {
        volumeController_.track({session->first, session->second}, session->aggregateDeviceID);
        note();
    } else {
        id_.set(std::nullopt);
        volumeController_.stopTracking();
    }
}

void SessionPreset::apply(const Settings& settings) {
    volumeController_.apply(settings);
    note();
}

/// An output that is gone keeps those that it had.
void SessionPreset::note() {
    for (const auto& [uid, settings] : volumeController_.currentSettings())
        settings_.insert_or_assign(uid, settings);
}

/// Takes an adjustment over into the preset.
void SessionPreset::follow() {
    if (!id() || !systemAudio_.state().is<AudioSessionState::Active>()) return;
    if (!std::ranges::all_of(volumeController_.states(), &DeviceVolumeState::isConnected)) return;
    const auto preset = preferences_.preset(*id());
    if (!preset) return;
    AudioPreset changed = *preset;
    changed.deviceSettings = volumeController_.currentSettings();
    if (const auto master = loudest(changed.deviceSettings)) changed.masterVolume = master;
    if (changed != *preset) preferences_.savePreset(std::move(changed));
}

std::optional<AudioPreset> SessionPreset::saveAs(std::string name) {
    const auto session = systemAudio_.activeSession();
    if (!session || presetNameProblem(name)) return std::nullopt;
    auto preset = AudioPreset::create(std::move(name), session->first, session->second, clock_.now());
    preset.deviceSettings = volumeController_.currentSettings();
    preset.masterVolume = loudest(preset.deviceSettings);
    const UUID id = preset.id;
    preferences_.savePreset(std::move(preset));
    id_.set(id);
    return preferences_.preset(id);
}

} // namespace velto
