// PreferencesManager: every setting of the user and the list of saved presets.
//
// Owned by the root of the object graph for the life of the program; main actor only. It is the only one that
// writes them. Each assignment goes to the user's defaults at once; observers hear of real changes only. What
// is stored unreadable reads as the setting's default (the presets as none), without a word. It keeps the
// recovery record too, for those who know no more of it than the store.
#pragma once

#include "VeltoCore/Aggregate/ClockStrategy.h"
#include "VeltoCore/Aggregate/PreferredSampleRate.h"
#include "VeltoCore/Async/Clock.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Recovery/RecoveryStateStore.h"
#include "VeltoCore/Recovery/UserDefaultsRecoveryStateStore.h"
#include "VeltoCore/Services/UserDefaults.h"
#include "VeltoCore/Settings/AudioPreset.h"
#include "VeltoCore/Settings/AutomationRule.h"
#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class PreferencesManager final : public RecoveryStateStore {
  public:
    /// Where each is stored in the user's defaults.
    struct Key {
        Key() = delete;

        static constexpr std::string_view rememberSelectedDevices = "rememberSelectedDevices";
        static constexpr std::string_view autoReconnect = "autoReconnect";
        static constexpr std::string_view preferredSampleRate = "preferredSampleRate";
        static constexpr std::string_view aggregateDeviceName = "aggregateDeviceName";
        static constexpr std::string_view clockStrategy = "clockStrategy";
        static constexpr std::string_view disconnectBehavior = "disconnectBehavior";
        static constexpr std::string_view autoConnect = "autoConnect";
        static constexpr std::string_view showInDock = "showInDock";
        static constexpr std::string_view rememberSyncProfiles = "rememberSyncProfiles";
        static constexpr std::string_view defaultReferenceDeviceUID = "defaultReferenceDeviceUID";
        static constexpr std::string_view syncTestVolume = "syncTestVolume";
        static constexpr std::string_view hasCompletedOnboarding = "hasCompletedOnboarding";
        static constexpr std::string_view presets = "presets";
        static constexpr std::string_view lastPresetID = "lastPresetID";
        static constexpr std::string_view recoveryState = UserDefaultsRecoveryStateStore::key;
    };

    /// Reads everything. Both must outlive the manager; the clock dates the presets.
    PreferencesManager(UserDefaults& defaults, const Clock& clock);
    PreferencesManager(const PreferencesManager&) = delete;
    PreferencesManager& operator=(const PreferencesManager&) = delete;

    /// Calls the handler when the value under the key has really changed. The recovery record is not
    /// observed.
    Subscription observe(std::string_view key, std::function<void()> handler);
    /// Calls the handler when any value has really changed.
    Subscription observe(std::function<void()> handler);

    // The store

    /// Why some of all this is not on disk; absent as a rule. All observers hear of a change.
    const std::optional<std::string>& writeFailure() const noexcept { return defaults_.writeFailure(); }
    /// Writes what could not be written before.
    void synchronize() { defaults_.synchronize(); }

    // Settings

    /// Keep a preset of the pair that played last.
    bool rememberSelectedDevices() const noexcept { return rememberSelectedDevices_; }
    void setRememberSelectedDevices(bool isOn);
    /// Play together again when a lost output comes back.
    bool autoReconnect() const noexcept { return autoReconnect_; }
    void setAutoReconnect(bool isOn);
    PreferredSampleRate preferredSampleRate() const noexcept { return preferredSampleRate_; }
    void setPreferredSampleRate(PreferredSampleRate rate);
    /// As typed, for the field it is typed in. What is stored is the effective name.
    const std::string& aggregateDeviceName() const noexcept { return aggregateDeviceName_; }
    void setAggregateDeviceName(std::string name);
    /// Without blanks at its ends; "Velto Output" when nothing is left.
    std::string effectiveAggregateDeviceName() const;
    ClockStrategy clockStrategy() const noexcept { return clockStrategy_; }
    void setClockStrategy(ClockStrategy strategy);
    DisconnectBehavior disconnectBehavior() const noexcept { return disconnectBehavior_; }
    void setDisconnectBehavior(DisconnectBehavior behavior);
    /// Whether presets may start by themselves at all.
    bool autoConnect() const noexcept { return autoConnect_; }
    void setAutoConnect(bool isOn);
    bool showInDock() const noexcept { return showInDock_; }
    void setShowInDock(bool isOn);
    bool rememberSyncProfiles() const noexcept { return rememberSyncProfiles_; }
    void setRememberSyncProfiles(bool isOn);
    /// The output that others are synchronized with.
    const std::optional<std::string>& defaultReferenceDeviceUID() const noexcept {
        return defaultReferenceDeviceUID_;
    }
    void setDefaultReferenceDeviceUID(std::optional<std::string> uid);
    /// Loudness of the sync test's click, from 0 to 1; what lies outside is taken as the nearest end.
    float syncTestVolume() const noexcept { return syncTestVolume_; }
    void setSyncTestVolume(float volume);
    bool hasCompletedOnboarding() const noexcept { return hasCompletedOnboarding_; }
    void setHasCompletedOnboarding(bool isDone);

    // Presets

    /// All of them, in the order in which they were added.
    const std::vector<AudioPreset>& presets() const noexcept { return presets_; }
    /// An equal list is neither stored nor announced.
    void setPresets(std::vector<AudioPreset> presets);
    /// Without the one that remembers the pair played last.
    std::vector<AudioPreset> userPresets() const;
    std::vector<AudioPreset> favoritePresets() const;
    /// The preset last applied or remembered. It may name one that is gone.
    const std::optional<UUID>& lastPresetID() const noexcept { return lastPresetID_; }
    void setLastPresetID(std::optional<UUID> id);
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
    void clearPresets();
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
    void registerDefaults();
    void readSettings();
    void readPresets();
    /// Takes the value over, stores it in the form given (none: removes what is stored), and notifies if it
    /// differs from the old one.
    template <class T>
    void assign(T& property, T value, std::string_view key, std::optional<DefaultsValue> stored);
    void notify(std::string_view key);
    void persistPresets();
    template <class Change>
    void changePreset(const UUID& id, Change change);

    UserDefaults& defaults_;
    const Clock& clock_;
    UserDefaultsRecoveryStateStore recoveryStore_;
    std::map<std::string_view, ObserverList> observers_; // by Key
    ObserverList observersOfAll_;
    Subscription writeFailureSubscription_;

    // From the start these hold the defaults.
    bool rememberSelectedDevices_ = true;
    bool autoReconnect_ = false;
    PreferredSampleRate preferredSampleRate_ = PreferredSampleRate::automatic;
    std::string aggregateDeviceName_ = "Velto Output";
    ClockStrategy clockStrategy_ = ClockStrategy::automatic;
    DisconnectBehavior disconnectBehavior_ = DisconnectBehavior::keepPlaying;
    bool autoConnect_ = false;
    bool showInDock_ = false;
    bool rememberSyncProfiles_ = true;
    std::optional<std::string> defaultReferenceDeviceUID_;
    float syncTestVolume_ = 0.5F;
    bool hasCompletedOnboarding_ = false;
    std::vector<AudioPreset> presets_;
    std::optional<UUID> lastPresetID_;
};

} // namespace velto
