#include "Velto/Shell/MenuBarViewModel.h"

#include "Velto/Shell/LargestCorrection.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velto {

MenuBarViewModel::MenuBarViewModel(CoreAudioClient& client, PresetViewModel& presets,
                                   AudioDeviceManager& deviceManager, DualOutputCoordinator& coordinator,
                                   PreferencesManager& preferences, DeviceVolumeController& volumeController,
                                   SyncProfileManager& syncProfiles, MainActor& actor,
                                   const PlatformWords& words)
    : changes_(actor), client_(client), presets_(presets), deviceManager_(deviceManager),
      coordinator_(coordinator), preferences_(preferences), volumeController_(volumeController),
      words_(words), tasks_(actor) {
    changes_.keep(deviceManager.observeDevices([this] {
        selectableDevices_.reset();
        changes_.announce();
    }));
    changes_.keep(coordinator.observe([this] {
        sessionMayHaveChanged();
        changes_.announce();
    }));
    changes_.keep(preferences.observe([this] { preferencesChanged(); }));
    changes_.keep(volumeController.observeStates(changes_.handler()));
    changes_.keep(syncProfiles.observeProfiles(changes_.handler()));
    changes_.keep(client.observeServiceLoss(changes_.handler()));
}

// Choosing outputs

void MenuBarViewModel::choose(Slot slot, std::optional<std::string> uid) {
    Choice& chosen = choice(slot);
    changes_.set(chosen.uid, std::move(uid));
    if (auto present = device(slot)) chosen.lastSeen = std::move(present);
}

std::optional<AudioOutputDevice> MenuBarViewModel::device(Slot slot) const {
    const auto& devices = selectableDevices();
    const auto found = std::ranges::find(devices, choice(slot).uid, &AudioOutputDevice::uid);
    return found == devices.end() ? std::nullopt : std::optional(*found);
}

const std::vector<AudioOutputDevice>& MenuBarViewModel::selectableDevices() const {
    if (!selectableDevices_)
        selectableDevices_ = deviceManager_.selectableDevices(AggregateDeviceManager::aggregateUID);
    return *selectableDevices_;
}

std::vector<AudioOutputDevice> MenuBarViewModel::choices(Slot forSlot) const {
    const auto& other = choice(forSlot == Slot::first ? Slot::second : Slot::first).uid;
    std::vector<AudioOutputDevice> devices = selectableDevices();
    std::erase_if(devices, [&](const AudioOutputDevice& device) { return device.uid == other; });
    return devices;
}

std::optional<AudioOutputDevice> MenuBarViewModel::placeholder(const std::optional<std::string>& uid) const {
    if (!uid) return std::nullopt;
    const auto disconnected = [&](const auto& known) {
        return AudioOutputDevice::disconnected(*uid, known.name, known.transportType);
    };
    if (const auto session = this->session()) {
        for (const AudioOutputDevice& device : session->devices())
            if (device.uid == uid) return disconnected(device);
    }
    if (const auto preset = preferences_.lastPreset()) {
        for (const auto* reference : {&preset->first, &preset->second})
            if (reference->uid == uid) return disconnected(*reference);
    }
    return std::nullopt;
}

std::optional<AudioOutputDevice> MenuBarViewModel::chosenDevice(Slot slot) const {
    if (auto present = device(slot)) return present;
    const Choice& chosen = choice(slot);
    if (auto absent = placeholder(chosen.uid)) return absent;
    const auto& seen = chosen.lastSeen;
    if (!seen || seen->uid != chosen.uid) return std::nullopt;
    return AudioOutputDevice::disconnected(seen->uid, seen->name, seen->transportType);
}

/// Of all that there are, and those that are missed: their numbers stay while they are.
OutputNames MenuBarViewModel::outputNames() const {
    std::vector<AudioOutputDevice> outputs = selectableDevices();
    if (const auto session = this->session())
        for (const AudioOutputDevice& device : session->devices())
            outputs.push_back(device);
    for (const Slot slot : allSlots)
        if (auto chosen = chosenDevice(slot)) outputs.push_back(std::move(*chosen));
    return OutputNames(outputs);
}

std::optional<OutputRow> MenuBarViewModel::pickerEntry(Slot forSlot) const {
    const auto chosen = chosenDevice(forSlot);
    if (!chosen) return std::nullopt;
    return OutputRow::of(*chosen, outputNames());
}

std::vector<OutputRow> MenuBarViewModel::pickerRows(Slot forSlot) const {
    std::vector<OutputRow> rows;
    const OutputNames names = outputNames();
    if (const auto chosen = chosenDevice(forSlot); chosen && !chosen->isConnected)
        rows.push_back(OutputRow::of(*chosen, names));
    for (const AudioOutputDevice& device : choices(forSlot))
        rows.push_back(OutputRow::of(device, names));
    return rows;
}

void MenuBarViewModel::applyLastPreset() {
    if (!preferences_.rememberSelectedDevices()) return;
    const auto preset = preferences_.lastPreset();
    if (!preset) return;
    const auto [first, second] = preset->resolve(selectableDevices());
    const auto fill = [this](Slot slot, const auto& output, const auto& uidBeside) {
        if (output && !device(slot) && output->uid != uidBeside) choose(slot, output->uid);
    };
    fill(Slot::first, first, secondDeviceUID());
    fill(Slot::second, second, firstDeviceUID());
}

void MenuBarViewModel::subscribeToDeviceChanges() {
    deviceChanges_ = deviceManager_.onChange([this] { applyLastPreset(); });
}

void MenuBarViewModel::setIsChoosingOutputs(bool isChoosing) {
    if (!changes_.set(isChoosingOutputs_, isChoosing) || !isChoosing) return;
    if (const auto session = this->session()) {
        choose(Slot::first, session->first.uid);
        choose(Slot::second, session->second.uid);
    }
}

/// A rebuild goes on with the same session, and leaves the pickers as they are.
void MenuBarViewModel::sessionMayHaveChanged() {
    if (std::exchange(hadSession_, hasSession()) == hadSession_) return;
    if (hadSession_) return setIsChoosingOutputs(false);
    setNewPresetName(""); // it was meant for what played
    setIsShowingPresetEditor(false);
}

bool MenuBarViewModel::showsPickers() const { return isChoosingOutputs_ || !hasSession(); }

bool MenuBarViewModel::canPlay() const {
    const auto& first = firstDeviceUID();
    const auto& second = secondDeviceUID();
    return first && second && first != second && !coordinator_.state().is<AudioSessionState::Starting>() &&
           !coordinator_.isReconnecting();
}

bool MenuBarViewModel::canSwitchOutputs() const {
    const auto session = this->session();
    if (!session || !isChoosingOutputs_ || !canPlay() || !firstDevice() || !secondDevice()) return false;
    const auto isOfSession = [&](const std::optional<std::string>& uid) {
        return uid == session->first.uid || uid == session->second.uid;
    };
    return !isOfSession(firstDeviceUID()) || !isOfSession(secondDeviceUID());
}

std::optional<std::string_view> MenuBarViewModel::selectionHint() const {
    if (needsMoreOutputs() || (firstDevice() && secondDevice())) return std::nullopt;
    return "Choose two outputs to play together.";
}

std::optional<std::string_view> MenuBarViewModel::soundServerTrouble() const {
    if (!client_.isServiceThere())
        return "No sound server is running. Velto starts working as soon as PipeWire does.";
    if (!client_.isAnswering())
        return "The sound server does not answer. Velto goes on working as soon as PipeWire does.";
    return std::nullopt;
}

std::optional<std::string_view> MenuBarViewModel::needsMoreOutputsText() const {
    if (const auto trouble = soundServerTrouble()) return trouble;
    if (!needsMoreOutputs()) return std::nullopt;
    return "Connect a second output to play together.";
}

// Status

std::optional<std::string> MenuBarViewModel::errorText() const {
    if (const auto& error = coordinator_.lastError())
        return AudioManagerError::named(error->errorDescription(), words_);
    const auto& failure = preferences_.writeFailure();
    if (!failure || isWriteFailureDismissed_) return std::nullopt;
    return fmt::format("Velto cannot save its settings: {}", *failure);
}

std::optional<std::string> MenuBarViewModel::recoveryText() const {
    if (const auto& error = coordinator_.lastError()) return error->recoverySuggestion(words_);
    if (!errorText()) return std::nullopt;
    return "What you change holds until Velto quits. It is saved with the next change after this is put "
           "right.";
}

void MenuBarViewModel::dismissError() {
    if (coordinator_.lastError()) return coordinator_.dismissError();
    changes_.set(isWriteFailureDismissed_, preferences_.writeFailure().has_value());
}

void MenuBarViewModel::preferencesChanged() {
    if (!preferences_.writeFailure()) isWriteFailureDismissed_ = false; // the next one is another
    changes_.announce();
}

std::optional<std::string> MenuBarViewModel::syncSummary() const {
    if (!isPlaying()) return std::nullopt;
    const auto profile = coordinator_.currentSyncProfile();
    if (!profile || !profile->hasCorrections()) return std::nullopt;
    const double largest = largestCorrection(*profile);
    return fmt::format("{:.0f} ms {}", std::round(largest),
                       coordinator_.canAdjustSync() ? "corrected" : "estimated");
}

// Playing

MenuBarViewModel::PrimaryAction MenuBarViewModel::primaryAction() const {
    if (isBusy()) return PrimaryAction::preparing;
    return isPlaying() && !canSwitchOutputs() ? PrimaryAction::stop : PrimaryAction::play;
}

std::string MenuBarViewModel::primaryActionTitle() const {
    switch (primaryAction()) {
    case PrimaryAction::play:
        return "Play Together";
    case PrimaryAction::stop:
        return "Stop";
    case PrimaryAction::preparing:
        return statusTitle();
    }
    return {};
}

bool MenuBarViewModel::isPrimaryActionEnabled() const {
    switch (primaryAction()) {
    case PrimaryAction::play:
        return canPlay() && firstDevice() && secondDevice();
    case PrimaryAction::stop:
        return true;
    case PrimaryAction::preparing:
        return false;
    }
    return false;
}

void MenuBarViewModel::performPrimaryAction() {
    switch (primaryAction()) {
    case PrimaryAction::play:
        return play();
    case PrimaryAction::stop:
        return stop();
    case PrimaryAction::preparing:
        return;
    }
}

void MenuBarViewModel::play() {
    auto first = firstDevice();
    auto second = secondDevice();
    if (!first || !second || !canPlay()) return;
    tasks_.spawn(coordinator_.startDualOutput(std::move(*first), std::move(*second)));
}

void MenuBarViewModel::stop() { tasks_.spawn(coordinator_.stopDualOutput()); }

std::optional<std::string_view> MenuBarViewModel::disconnectQuestion() const {
    if (!coordinator_.state().is<AudioSessionState::Degraded>() || !coordinator_.pendingDisconnectDecision())
        return std::nullopt;
    return disconnectQuestionText;
}

std::string_view MenuBarViewModel::title(DisconnectAnswer answer) noexcept {
    return velto::title(answer == DisconnectAnswer::keepPlaying ? DisconnectBehavior::keepPlaying
                                                                : DisconnectBehavior::pauseGroup);
}

void MenuBarViewModel::answerDisconnect(DisconnectAnswer answer) {
    tasks_.spawn(coordinator_.resolveDisconnect(answer == DisconnectAnswer::keepPlaying));
}

// Volume

std::vector<OutputCard> MenuBarViewModel::outputCards() const {
    std::vector<OutputCard> cards;
    // While a session is rebuilt its outputs are tracked all along, and stay in view.
    if (!hasSession()) return cards;
    const OutputNames names = outputNames();
    for (const DeviceVolumeState& state : volumeController_.states()) {
        const auto device = deviceManager_.device(state.uid).value_or(
            AudioOutputDevice::disconnected(state.uid, state.name, state.transportType));
        cards.push_back({.output = OutputRow::of(device, names),
                         .hasVolume = state.isConnected && state.supportsVolume,
                         .volume = state.volume,
                         .canMute = state.isConnected && state.supportsMute,
                         .isMuted = state.isMuted});
    }
    return cards;
}

void MenuBarViewModel::toggleMute(std::string_view uid) {
    if (const auto state = volumeController_.state(uid)) volumeController_.setMuted(!state->isMuted, uid);
}

bool MenuBarViewModel::canMuteAny() const { return std::ranges::any_of(outputCards(), &OutputCard::canMute); }

bool MenuBarViewModel::isAllMuted() const {
    return canMuteAny() && std::ranges::all_of(outputCards(), [](const OutputCard& card) {
               return card.isMuted || !card.canMute;
           });
}

void MenuBarViewModel::toggleMuteAll() {
    const bool isMuted = !isAllMuted();
    volumeController_.together([&] {
        for (const OutputCard& card : outputCards())
            if (card.canMute) volumeController_.setMuted(isMuted, card.output.uid);
    });
}

void MenuBarViewModel::adjustMasterVolume(float delta) {
    if (!hasMasterVolume()) return;
    setMasterVolume(masterVolume() + delta);
}

// Saving the setup

void MenuBarViewModel::setNewPresetName(std::string name) { changes_.set(newPresetName_, std::move(name)); }

void MenuBarViewModel::setIsShowingPresetEditor(bool isShowing) {
    changes_.set(isShowingPresetEditor_, isShowing);
}

void MenuBarViewModel::saveCurrentAsPreset() {
    if (!isPresetName(newPresetName_)) return;
    coordinator_.saveCurrentSessionAsPreset(std::string(trimmed(newPresetName_)));
    setNewPresetName("");
    setIsShowingPresetEditor(false);
}

} // namespace velto
