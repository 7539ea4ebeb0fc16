// SessionPreset: the volumes and mutes of the outputs that play together, and the preset that keeps them.
//
// A part of DualOutputCoordinator; main actor only. The preset that a session was started from or saved as
// follows each adjustment of its outputs; it is written where it differs, and not while an output is missing,
// whose settings would be lost.
#pragma once

#include "VeltoCore/Async/Clock.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Session/SystemAudioManager.h"
#include "VeltoCore/Settings/AudioPreset.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace velto {

class SessionPreset {
  public:
    using Settings = DeviceVolumeController::Settings;

    /// All must outlive it. The clock dates new presets.
    SessionPreset(const SystemAudioManager& systemAudio, PreferencesManager& preferences,
                  DeviceVolumeController& volumeController, const Clock& clock);

    /// None without a session, and for one that no preset belongs to.
    const std::optional<UUID>& id() const noexcept { return id_.value(); }
    /// Calls the handler when that has really changed.
    Subscription observe(std::function<void()> handler) { return id_.observe(std::move(handler)); }
    /// Of the session's outputs, also of those that have gone meanwhile.
    const Settings& settings() const noexcept { return settings_; }

    /// When a session has begun: its outputs are given the settings, and the preset follows them.
    void begin(std::optional<UUID> id, const Settings& settings);
    /// When the session has ended, or its outputs may be others.
    void sessionChanged();
    /// Gives the outputs these settings, which is nobody's adjustment.
    void apply(const Settings& settings);
    /// Saves the session with its volumes as a new preset, which is its own from then on. None without a
    /// session.
    std::optional<AudioPreset> saveAs(std::string name);

  private:
    void note();
    void follow();

    const SystemAudioManager& systemAudio_;
    PreferencesManager& preferences_;
    DeviceVolumeController& volumeController_;
    const Clock& clock_;
    Observable<std::optional<UUID>> id_;
    Settings settings_;
    Subscription adjustments_;
};

} // namespace velto
