// PreferencesManager: every setting of the user and the list of saved presets.
//
// Owned by the root of the object graph for the life of the program; main actor only. It is the only one that
// writes them. Each assignment goes to the user's defaults at once; observers hear of real changes only. What
// is stored unreadable reads as the setting's default (the presets as none), without a word. It keeps the
// recovery record too, for those who know no more of it than the store.
#pragma once

#include "VeltoCore/Async/Clock.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Recovery/RecoveryStateStore.h"
#include "VeltoCore/Recovery/UserDefaultsRecoveryStateStore.h"
#include "VeltoCore/Services/UserDefaults.h"
#include "VeltoCore/Settings/AudioPreset.h"
#include "VeltoCore/Settings/AutomationRule.h"
#include "VeltoCore/Settings/Setting.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class PreferencesManager final : public RecoveryStateStore {
    SettingStore store_; // first: the settings are read from it

  public:
    /// Where the saved setups are stored.
    static constexpr std::string_view presetsKey = "presets";

    /// Reads everything. Both must outlive the manager; the clock dates the presets.
    PreferencesManager(UserDefaults& defaults, const Clock& clock);
    PreferencesManager(const PreferencesManager&) = delete;
    PreferencesManager& operator=(const PreferencesManager&) = delete;

    /// Calls the handler when any value has really changed. The recovery record is not observed.
    Subscription observe(std::function<void()> handler) {
        return store_.observers.observe(std::move(handler));
    }

    // The store

    /// Why some of all this is not on disk; absent as a rule. All observers hear of a change.
    const std::optional<std::string>& writeFailure() const noexcept { return store_.defaults.writeFailure(); }
    /// Writes what could not be written before.
    void synchronize() { store_.defaults.synchronize(); }

    // Settings. What a user sees of one is its row in SettingsList.

    /// All of them, in this order.
    const std::vector<AnySetting*>& settings() const noexcept { return store_.settings; }

    /// Keep a preset of the pair that played last.
    Setting<bool> rememberSelectedDevices{store_, "rememberSelectedDevices", true};
    /// Play together again when a lost output comes back.
    Setting<bool> autoReconnect{store_, "autoReconnect", false};
    Setting<PreferredSampleRate> preferredSampleRate{store_, "preferredSampleRate",
                                                     PreferredSampleRate::automatic};
    /// As typed, for the field it is typed in. What is stored is the effective name.
    Setting<std::string, StoredOutputName> aggregateDeviceName{store_, "aggregateDeviceName",
                                                               StoredOutputName::effective("")};
    Setting<ClockStrategy> clockStrategy{store_, "clockStrategy", ClockStrategy::automatic};
    Setting<DisconnectBehavior> disconnectBehavior{store_, "disconnectBehavior",
                                                   DisconnectBehavior::keepPlaying};
    /// Whether presets may start by themselves at all.
    Setting<bool> autoConnect{store_, "autoConnect", false};
    /// Tell what happens while the panel is closed.
    Setting<bool> showNotifications{store_, "showNotifications", true};
    /// Keys for the whole desktop, where it gives programs any.
    Setting<bool> globalShortcuts{store_, "globalShortcuts", false};
    Setting<bool> showInDock{store_, "showInDock", false};
    Setting<bool> rememberSyncProfiles{store_, "rememberSyncProfiles", true};
    /// The output that others are synchronized with.
    Setting<std::optional<std::string>> defaultReferenceDeviceUID{store_, "defaultReferenceDeviceUID", {}};
    /// Loudness of the sync test's click.
    Setting<float, StoredVolume> syncTestVolume{store_, "syncTestVolume", 0.5F};
    Setting<bool> hasCompletedOnboarding{store_, "hasCompletedOnboarding", false};
    /// The preset last applied or remembered. It may name one that is gone.
    Setting<std::optional<UUID>> lastPresetID{store_, "lastPresetID", {}};

    /// Without blanks at its ends; the default name when nothing is left.
    std::string effectiveAggregateDeviceName() const {
        return StoredOutputName::effective(aggregateDeviceName());
    }

    // Presets

    /// Calls the handler when any of them has really changed.
    Subscription observePresets(std::function<void()> handler) {
        return presetObservers_.observe(std::move(handler));
    }
    /// All of them, in the order in which they were added.
    const std::vector<AudioPreset>& presets() const noexcept { return presets_; }
    /// An equal list is neither stored nor announced.
    void setPresets(std::vector<AudioPreset> presets);
    /// Without the one that remembers the pair played last.
    std::vector<AudioPreset> userPresets() const;
    std::optional<AudioPreset> lastPreset() const;
    std::optional<AudioPreset> preset(const UUID& id) const;

    /// Replaces the preset of that identity in its place, else appends it; dated now either way.
    void savePreset(AudioPreset preset);
    /// The name is trimmed. Nothing for a blank one or an unknown preset.
    void renamePreset(const UUID& id, std::string_view to);
    /// Nothing for an unknown preset.
    void setFavorite(bool isFavorite, const UUID& presetID);
    /// Nothing for an unknown preset.
    void setAutoConnect(bool autoConnect, const UUID& presetID);
    void removePreset(const UUID& id);
    /// Called when the pair starts to play: keeps it in the preset for that, if the user wants one kept.
    void rememberLastUsed(const AudioOutputDevice& first, const AudioOutputDevice& second);

    /// One rule for each of the user's presets that may start by itself, in their order.
    std::vector<AutomationRule> automationRules() const;

    // RecoveryStateStore

    std::optional<RecoveryState> loadRecoveryState() override { return recoveryStore_.loadRecoveryState(); }
    void saveRecoveryState(const std::optional<RecoveryState>& state) override {
        recoveryStore_.saveRecoveryState(state);
    }

  private:
    template <class Change>
    void changePreset(const UUID& id, Change change);

    const Clock& clock_;
    UserDefaultsRecoveryStateStore recoveryStore_;
    ObserverList presetObservers_;
    Subscription writeFailureSubscription_;
    std::vector<AudioPreset> presets_;
};

} // namespace velto
