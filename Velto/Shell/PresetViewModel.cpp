#include "Velto/Shell/PresetViewModel.h"

#include "Velto/Shell/OutputNames.h"
#include "VeltoCore/Settings/PresetName.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velto {

PresetViewModel::PresetViewModel(PreferencesManager& preferences, DualOutputCoordinator& coordinator,
                                 AudioDeviceManager& deviceManager, MainActor& actor)
    : changes_(actor), preferences_(preferences), coordinator_(coordinator), deviceManager_(deviceManager),
      tasks_(actor) {
    changes_.keep(preferences.observePresets(changes_.handler()));
    changes_.keep(preferences.lastPresetID.observe(changes_.handler()));
    changes_.keep(preferences.autoConnect.observe(changes_.handler()));
    changes_.keep(coordinator.observe(changes_.handler()));
    changes_.keep(deviceManager.observeDevices(changes_.handler()));
}

std::vector<PresetRow> PresetViewModel::presetRows() const {
    std::vector<PresetRow> rows;
    const OutputNames names(deviceManager_.devices());
    const auto shortNames = [&](const AudioPreset& preset) {
        return names.distinct(preset.first.uid, preset.first.name) + " + " +
               names.distinct(preset.second.uid, preset.second.name);
    };
    for (const AudioPreset& preset : preferences_.presets()) {
        if (preset.isLastUsed()) continue;
        const bool isRenaming = renameTarget_ && renameTarget_->id == preset.id;
        rows.push_back(
            {.id = preset.id,
             .name = preset.name,
             .outputs = preset.displayName(),
             .shortOutputs = shortNames(preset),
             .note = note(preset, names),
             .isReady = isReady(preset),
             .isFavorite = preset.isFavorite,
             .isAutoConnect = preset.autoConnect,
             .isActive = coordinator_.activePresetID() == preset.id,
             .isRenaming = isRenaming,
             .renameProblem = std::string(isRenaming ? presetNameProblem(renameText_).value_or("") : "")});
    }
    return rows;
}

/// Why a click on it would do nothing comes first.
std::string PresetViewModel::note(const AudioPreset& preset, const OutputNames& names) const {
    const auto [first, second] = preset.resolve(deviceManager_.devices());
    if (coordinator_.activePresetID() == preset.id) return "Playing";
    if (!first && !second) return "Both outputs are not connected";
    if (!first || !second) {
        const auto& missing = first ? preset.second : preset.first;
        return names.shortened(missing.name) + " is not connected";
    }
    return preset.autoConnect && !preferences_.autoConnect() ? "Auto Connect is off" : "";
}

bool PresetViewModel::isReady(const AudioPreset& preset) const {
    const auto [first, second] = preset.resolve(deviceManager_.devices());
    return first && second;
}

std::string_view PresetViewModel::favoriteActionTitle(bool isFavorite) noexcept {
    return isFavorite ? "Remove from Favourites" : "Add to Favourites";
}

void PresetViewModel::activate(const UUID& id) {
    if (auto preset = preferences_.preset(id)) tasks_.spawn(coordinator_.activatePreset(std::move(*preset)));
}

void PresetViewModel::toggleFavorite(const UUID& id) {
    if (const auto preset = preferences_.preset(id)) preferences_.setFavorite(!preset->isFavorite, id);
}

void PresetViewModel::toggleAutoConnect(const UUID& id) {
    const auto preset = preferences_.preset(id);
    if (!preset) return;
    changes_.set(autoConnectAsked_, preset->autoConnect ? std::optional<UUID>() : std::optional(id));
    preferences_.setAutoConnect(!preset->autoConnect, id);
}

std::string PresetViewModel::autoConnectOffer() const {
    const auto preset = autoConnectAsked_ ? preferences_.preset(*autoConnectAsked_) : std::nullopt;
    return preset && preset->autoConnect && !preferences_.autoConnect() ? preset->name : "";
}

// Renaming

void PresetViewModel::setRenameText(std::string text) { changes_.set(renameText_, std::move(text)); }

void PresetViewModel::beginRename(const UUID& id) {
    auto preset = preferences_.preset(id);
    if (!preset) return;
    setRenameText(preset->name);
    changes_.set(renameTarget_, std::move(preset));
}

void PresetViewModel::commitRename() {
    if (!renameTarget_ || presetNameProblem(renameText_)) return;
    preferences_.renamePreset(renameTarget_->id, renameText_);
    cancelRename();
}

void PresetViewModel::cancelRename() { changes_.set(renameTarget_, std::optional<AudioPreset>()); }

// Deleting

void PresetViewModel::deletePreset(const UUID& id) {
    const UUID target = id; // it may be that of an element
    Deleted deleted;
    for (const AudioPreset& preset : preferences_.presets()) {
        if (preset.id != target) {
            deleted.predecessors.push_back(preset.id);
            continue;
        }
        deleted.preset = preset;
        deleted.wasLastPreset = preferences_.lastPresetID() == target;
        deleted_ = std::move(deleted);
        if (renameTarget_ && renameTarget_->id == target) cancelRename();
        preferences_.removePreset(target);
        changes_.announce();
        return;
    }
}

std::string PresetViewModel::deletedPresetName() const { return deleted_ ? deleted_->preset.name : ""; }

void PresetViewModel::undoDelete() {
    const auto deleted = std::exchange(deleted_, std::nullopt);
    if (!deleted) return;
    auto presets = preferences_.presets();
    const auto stoodBefore = [&](const AudioPreset& preset) {
        return std::ranges::find(deleted->predecessors, preset.id) != deleted->predecessors.end();
    };
    // Behind the last that stood before it: presets may have come and gone since.
    auto place = presets.end();
    while (place != presets.begin() && !stoodBefore(*std::prev(place)))
        --place;
    presets.insert(place, deleted->preset);
    preferences_.setPresets(std::move(presets));
    if (deleted->wasLastPreset && !preferences_.lastPresetID())
        preferences_.lastPresetID.set(deleted->preset.id);
    changes_.announce();
}

void PresetViewModel::panelClosed() {
    cancelRename();
    changes_.set(autoConnectAsked_, std::optional<UUID>());
    if (std::exchange(deleted_, std::nullopt)) changes_.announce();
}

} // namespace velto
