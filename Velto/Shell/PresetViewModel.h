// PresetViewModel: the list of saved setups, as the panel shows and changes it.
//
// Owned by the root of the object graph; main actor only. What it shows is read from the preferences each
// time; its own are the rename field and the setup that was deleted last.
#pragma once

#include "Velto/Shell/ChangeAnnouncer.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Settings/AudioPreset.h"
#include "VeltoCore/Settings/PreferencesManager.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class OutputNames;

/// One saved setup as a row of the list.
struct PresetRow {
    UUID id;
    std::string name;
    /// The outputs' names, such as "AirPods + Desk".
    std::string outputs;
    /// The same, for where there is little room.
    std::string shortOutputs;
    /// What is to be known of it now, such as "Playing" or "Desk is not connected"; empty for nothing.
    std::string note;
    /// Both outputs are there.
    bool isReady = false;
    bool isFavorite = false;
    /// It starts by itself.
    bool isAutoConnect = false;
    /// It is what plays.
    bool isActive = false;
    /// Its name is being edited, in renameText().
    bool isRenaming = false;
    /// Why the name typed can't be had, as a sentence; empty for one that can.
    std::string renameProblem;

    friend bool operator==(const PresetRow&, const PresetRow&) = default;
};

class PresetViewModel {
  public:
    /// All must outlive the model.
    PresetViewModel(PreferencesManager& preferences, DualOutputCoordinator& coordinator,
                    AudioDeviceManager& deviceManager, MainActor& actor);
    PresetViewModel(const PresetViewModel&) = delete;
    PresetViewModel& operator=(const PresetViewModel&) = delete;

    /// Calls the handler when anything below may have changed, at most once a turn of the main loop.
    Subscription observe(std::function<void()> handler) { return changes_.observe(std::move(handler)); }

    /// The user's setups, in the order in which they were saved.
    std::vector<PresetRow> presetRows() const;
    /// Whether both of its outputs are there.
    bool isReady(const AudioPreset& preset) const;
    /// Of the row's menu entry.
    static std::string_view favoriteActionTitle(bool isFavorite) noexcept;

    /// Plays on the preset's outputs, with its settings.
    void activate(const UUID& id);
    void toggleFavorite(const UUID& id);
    /// Where no setup starts by itself, turning it on for one makes the offer below.
    void toggleAutoConnect(const UUID& id);
    /// The name of the setup that is to start by itself and doesn't, because none does; empty without an
    /// offer.
    std::string autoConnectOffer() const;
    void acceptAutoConnectOffer() { preferences_.autoConnect.set(true); }

    // Renaming

    /// The preset being renamed; none when none is.
    const std::optional<AudioPreset>& renameTarget() const noexcept { return renameTarget_; }
    const std::string& renameText() const noexcept { return renameText_; }
    void setRenameText(std::string text);
    void beginRename(const UUID& id);
    /// A blank name leaves the old one; one that can't be had is still being edited.
    void commitRename();
    void cancelRename();

    // Deleting

    void deletePreset(const UUID& id);
    /// Whether the last deletion can be taken back.
    bool canUndoDelete() const noexcept { return deleted_.has_value(); }
    /// Empty when there is nothing to take back.
    std::string deletedPresetName() const;
    /// Puts the preset back in its place; what was changed since stays.
    void undoDelete();
    /// The panel was closed: a name is not edited any more, nor can the deletion be taken back.
    void panelClosed();

  private:
    std::string note(const AudioPreset& preset, const OutputNames& names) const;

    struct Deleted {
        AudioPreset preset;
        /// Those that stood before it, in their order.
        std::vector<UUID> predecessors;
        bool wasLastPreset = false;
    };

    ChangeAnnouncer changes_;
    std::optional<AudioPreset> renameTarget_;
    std::string renameText_;
    std::optional<UUID> autoConnectAsked_;
    PreferencesManager& preferences_;
    DualOutputCoordinator& coordinator_;
    AudioDeviceManager& deviceManager_;
    std::optional<Deleted> deleted_;
    TaskScope tasks_; // dies first: its tasks use the others
};

} // namespace velto
