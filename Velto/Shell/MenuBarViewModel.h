// MenuBarViewModel: what the panel under the status item shows, and what its controls do.
//
// Owned by the root of the object graph; main actor only. Its own are the two choices, the name field, and
// what is opened in the panel; everything else is read where it belongs each time it is asked for. No rule of
// the panel lives in its views.
#pragma once

#include "Velto/Shell/ChangeAnnouncer.h"
#include "Velto/Shell/OutputRows.h"
#include "Velto/Shell/PresetViewModel.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/PlatformWords.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Session/VeltoStatus.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Settings/PresetName.h"
#include "VeltoCore/Sync/SyncProfileManager.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class MenuBarViewModel {
  public:
    /// One of the two outputs that are to play together.
    enum class Slot { first, second };
    static constexpr std::array allSlots{Slot::first, Slot::second};

    /// What the one large button does.
    enum class PrimaryAction {
        /// Also what brings a running session to other outputs that were chosen.
        play,
        stop,
        /// Nothing: something is under way.
        preparing,
    };
    enum class DisconnectAnswer { keepPlaying, stopPlaying };

    /// All must outlive the model.
    MenuBarViewModel(CoreAudioClient& client, PresetViewModel& presets, AudioDeviceManager& deviceManager,
                     DualOutputCoordinator& coordinator, PreferencesManager& preferences,
                     DeviceVolumeController& volumeController, SyncProfileManager& syncProfiles,
                     MainActor& actor, const PlatformWords& words);
    MenuBarViewModel(const MenuBarViewModel&) = delete;
    MenuBarViewModel& operator=(const MenuBarViewModel&) = delete;

    /// Calls the handler when anything below may have changed, at most once a turn of the main loop.
    Subscription observe(std::function<void()> handler) { return changes_.observe(std::move(handler)); }
    PresetViewModel& presets() const noexcept { return presets_; }

    // Choosing outputs

    const std::optional<std::string>& firstDeviceUID() const noexcept { return first_.uid; }
    const std::optional<std::string>& secondDeviceUID() const noexcept { return second_.uid; }
    void choose(Slot slot, std::optional<std::string> uid);
    /// The chosen one; none when it isn't there now.
    std::optional<AudioOutputDevice> firstDevice() const { return device(Slot::first); }
    std::optional<AudioOutputDevice> secondDevice() const { return device(Slot::second); }
    /// All that may be chosen, in display order.
    const std::vector<AudioOutputDevice>& selectableDevices() const;
    std::vector<AudioOutputDevice> choices(Slot forSlot) const;
    /// What stands for a chosen output that isn't there now; none when nothing is known of it.
    std::optional<AudioOutputDevice> placeholder(const std::optional<std::string>& uid) const;
    /// The chosen output, or what stands for it; none when the slot is empty.
    std::optional<OutputRow> pickerEntry(Slot forSlot) const;
    /// The choices, and first of all the own choice where only its placeholder is left.
    std::vector<OutputRow> pickerRows(Slot forSlot) const;
    /// Fills slots that are empty, or whose output has gone, from the preset last used: with no output that
    /// stands in the other slot.
    void applyLastPreset();
    /// From now on, after every change of the devices too. Once.
    void subscribeToDeviceChanges();

    /// The pickers are open although a session runs.
    bool isChoosingOutputs() const noexcept { return isChoosingOutputs_; }
    /// Opening them while a session runs brings its outputs into the slots.
    void setIsChoosingOutputs(bool isChoosing);
    bool showsPickers() const;
    bool canPlay() const;
    /// Whether play() would bring a running session to other outputs.
    bool canSwitchOutputs() const;
    std::optional<std::string_view> selectionHint() const;
    bool needsMoreOutputs() const { return selectableDevices().size() < 2; }
    /// Where a server is a program of its own: that none runs, or answers.
    std::optional<std::string_view> soundServerTrouble() const;
    /// Why nothing can be played: too few outputs, or nobody who would play on them.
    std::optional<std::string_view> needsMoreOutputsText() const;

    // Status

    VeltoStatus status() const { return coordinator_.status(); }
    std::string statusTitle() const { return AudioManagerError::named(status().title(), words_); }
    std::string_view statusSymbol() const { return status().symbolName(); }
    /// A start, stop or rebuild is under way.
    bool isBusy() const { return status().isBusy(); }
    /// A session runs, with both outputs or with one.
    bool isPlaying() const { return coordinator_.state().isActive(); }
    /// The error that was not dismissed yet, and what can be done about it: what the session met, and else
    /// that settings can't be saved.
    std::optional<std::string> errorText() const;
    std::optional<std::string> recoveryText() const;
    void dismissError();
    /// Only while the outputs of the session are to be corrected against each other.
    std::optional<std::string> syncSummary() const;

    // Playing

    PrimaryAction primaryAction() const;
    std::string primaryActionTitle() const;
    bool isPrimaryActionEnabled() const;
    void performPrimaryAction();
    /// Nothing unless both chosen outputs are there, and can play now.
    void play();
    void stop();
    static constexpr std::string_view disconnectQuestionText =
        "Keep playing on the remaining output, or stop playing together?";
    /// None unless the user is to be asked about a lost output.
    std::optional<std::string_view> disconnectQuestion() const;
    static std::string_view title(DisconnectAnswer answer) noexcept;
    void answerDisconnect(DisconnectAnswer answer);

    // Volume

    /// The session's outputs, in its order; empty without a session.
    std::vector<OutputCard> outputCards() const;
    bool hasMasterVolume() const { return volumeController_.supportsMasterVolume(); }
    /// From 0 to 1.
    float masterVolume() const { return volumeController_.masterVolume(); }
    void setMasterVolume(float volume) { volumeController_.setMasterVolume(volume); }
    void setVolume(float volume, std::string_view uid) { volumeController_.setVolume(volume, uid); }
    void toggleMute(std::string_view uid);
    /// Whether any of the session's outputs can be muted, and whether all that can are.
    bool canMuteAny() const;
    bool isAllMuted() const;
    void toggleMuteAll();
    /// For the wheel over the status item. Nothing without a master volume.
    void adjustMasterVolume(float delta);

    // Saving the setup

    const std::string& newPresetName() const noexcept { return newPresetName_; }
    void setNewPresetName(std::string name);
    bool isShowingPresetEditor() const noexcept { return isShowingPresetEditor_; }
    void setIsShowingPresetEditor(bool isShowing);
    /// Why the name can't be had, as a sentence.
    std::optional<std::string_view> newPresetNameProblem() const { return presetNameProblem(newPresetName_); }
    bool canSaveCurrentAsPreset() const { return isPlaying() && isPresetName(newPresetName_); }
    /// Nothing for a name that can't be had.
    void saveCurrentAsPreset();

  private:
    /// What the user has chosen for one slot.
    struct Choice {
        std::optional<std::string> uid;
        /// The output as it was when it was chosen.
        std::optional<AudioOutputDevice> lastSeen;
    };

    Choice& choice(Slot slot) noexcept { return slot == Slot::first ? first_ : second_; }
    const Choice& choice(Slot slot) const noexcept { return slot == Slot::first ? first_ : second_; }
    std::optional<AudioOutputDevice> device(Slot slot) const;
    std::optional<AudioOutputDevice> chosenDevice(Slot slot) const;
    OutputNames outputNames() const;
    bool hasSession() const { return isPlaying() || coordinator_.isReconnecting(); }
    std::optional<DualOutputSession> session() const { return coordinator_.state().session(); }
    void sessionMayHaveChanged();
    void preferencesChanged();

    ChangeAnnouncer changes_;
    Choice first_;
    Choice second_;
    std::string newPresetName_;
    bool isShowingPresetEditor_ = false;
    bool isChoosingOutputs_ = false;
    /// The user has read that settings can't be saved.
    bool isWriteFailureDismissed_ = false;
    CoreAudioClient& client_;
    PresetViewModel& presets_;
    AudioDeviceManager& deviceManager_;
    DualOutputCoordinator& coordinator_;
    PreferencesManager& preferences_;
    DeviceVolumeController& volumeController_;
    const PlatformWords& words_;
    Subscription deviceChanges_;
    bool hadSession_ = false;
    /// Until the devices change; sorting names is the dear part of reading the model.
    mutable std::optional<std::vector<AudioOutputDevice>> selectableDevices_;
    TaskScope tasks_; // dies first: its tasks use the others
};

} // namespace velto
