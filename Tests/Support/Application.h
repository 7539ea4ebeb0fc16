// Application: one run of the whole core on a machine, with the coordinator on top, and a user at it.
//
// Verbs run until nothing is left to do. crash() ends it without a word, quit() as a user does.
#pragma once

#include "Tests/Support/Machine.h"
#include "Tests/Support/Platform.h"
#include "Tests/Support/PlatformTextCollation.h"
#include "Tests/Support/SessionInvariants.h"
#include "Tests/Support/Started.h"
#include "Velto/Shell/AppState.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class Application {
  public:
    explicit Application(Machine& machine, UserDefaults* defaults = nullptr)
        : machine(machine), state(platformOf(machine, *collation, defaults)) {}
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    static void crash(std::unique_ptr<Application>& application) {
        Machine& machine = application->machine;
        application.reset();
        machine.world.programDies();
        machine.defaults.startOver(machine.defaults.onDisk());
    }

    // Beginning is for races: it returns before the first step.
    template <class T>
    Started<T> begin(Task<T> task) {
        return Started<T>(tasks, std::move(task));
    }
    template <class T>
    void finish(Task<T> task) {
        const auto started = begin(std::move(task));
        machine.loop.runUntilIdle();
        started.value();
    }
    void launch() { finish(state.launch()); }
    void quit() { finish(state.prepareForTermination()); }
    void play(std::string_view first, std::string_view second) { finish(playing(first, second)); }
    void stop() { finish(coordinator.stopDualOutput()); }
    void activate(const UUID& preset) {
        finish(coordinator.activatePreset(preferences.preset(preset).value()));
    }
    void reset() { finish(coordinator.resetAudioConfiguration()); }
    /// Play Together with the devices as they are now; one that isn't there is a placeholder.
    Task<void> playing(std::string_view first, std::string_view second) {
        return coordinator.startDualOutput(device(first), device(second));
    }
    AudioOutputDevice device(std::string_view uid) const {
        return devices.device(uid).value_or(AudioOutputDevice::disconnected(
            std::string(uid), std::string(uid), AudioTransportType::Kind::usb));
    }
    void restartAudioService() { machine.world.restartAudioService(); }
    /// The UID of the output that a degraded session misses; empty otherwise.
    std::string missing() const {
        const auto* degraded = coordinator.state().as<AudioSessionState::Degraded>();
        return degraded ? degraded->missing.uid : "";
    }
    bool isPlaying() const { return coordinator.state().is<AudioSessionState::Active>(); }
    bool isIdle() const { return coordinator.state().is<AudioSessionState::Idle>(); }

    Machine& machine;
    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    mutable AppState state;
    PreferencesManager& preferences = state.preferences();
    AudioDeviceManager& devices = state.deviceManager();
    SystemAudioManager& session = state.systemAudio();
    SyncProfileManager& syncProfiles = state.syncProfiles();
    DeviceVolumeController& volumes = state.volumeController();
    DualOutputCoordinator& coordinator = state.coordinator();
    TaskScope tasks{machine.loop}; // dies first: its tasks use the others
};

/// The invariants of the program that are violated, in words.
inline std::vector<std::string> violations(const Machine& machine, AppState& state,
                                           const InvariantContext& context = {}) {
    const DualOutputCoordinator& coordinator = state.coordinator();
    const bool hasRecord = state.preferences().loadRecoveryState().has_value();
    auto result = violations(SessionView{machine, state.systemAudio(), hasRecord}, context);
    const auto require = [&result](bool holds, std::string what) {
        if (!holds) result.push_back(std::move(what));
    };

    // Every listener is one of these: the system's, and those of the session's live devices. None at the end.
    const auto listener = [](AudioObjectPropertySelector selector, AudioObjectID object) {
        return fourCharCodeDescription(selector) + " on " + std::to_string(object);
    };
    const auto listeners = machine.world.listeners();
    const std::multiset<std::string> found(listeners.begin(), listeners.end());
    std::multiset<std::string> due;
    if (!state.isShuttingDown())
        due = {listener(kAudioHardwarePropertyDevices, kAudioObjectSystemObject),
               listener(kAudioHardwarePropertyDefaultOutputDevice, kAudioObjectSystemObject)};
    if (state.audioServiceMonitor().isListening())
        due.insert(listener(kAudioHardwarePropertyServiceRestarted, kAudioObjectSystemObject));
    std::vector<std::string> tracked;
    if (const auto session = coordinator.state().session()) {
        // The one that is there: after a restart of the audio service it may not be the session's yet.
        const auto aggregates = machine.world.aggregates();
        const auto onAggregate =
            listener(kVeltoAggregatePropertyOutputDelaysLost,
                     aggregates.empty() ? session->aggregateDeviceID : aggregates.front().deviceID);
        // On one that has gone it is no loss.
        if (coordinator.canAdjustSync() && (!aggregates.empty() || found.contains(onAggregate)))
            due.insert(onAggregate);
        for (const AudioOutputDevice& device : session->devices()) {
            tracked.push_back(device.uid);
            if (!machine.world.isPlugged(device.uid)) continue;
            const SimulatedDevice& live = machine.world.device(device.uid);
            const AudioObjectID id = machine.world.objectID(device.uid);
            if (live.volume) due.insert(listener(kAudioHardwareServiceDeviceProperty_VirtualMainVolume, id));
            if (live.isMuted) due.insert(listener(kAudioDevicePropertyMute, id));
        }
    }
    require(context.mayMissListeners ? std::ranges::includes(due, found) : due == found,
            "listeners: " + testing::PrintToString(found) + " instead of " + testing::PrintToString(due));

    std::vector<std::string> states;
    for (const DeviceVolumeState& volume : state.volumeController().states())
        states.push_back(volume.uid);
    require(states == tracked, "volumes of " + testing::PrintToString(states));

    require(!coordinator.isReconnecting(), "still rebuilding");
    require(!coordinator.preparationStep(), "still preparing");
    require(!coordinator.activePresetID() || coordinator.state().isActive(), "a preset without a session");
    const auto stored = machine.defaults.dataValue(PreferencesManager::presetsKey);
    require(!stored || decodePresets(*stored).value() == state.preferences().presets(),
            "other presets are stored than there are");
    return result;
}

inline std::vector<std::string> violations(const Application& application,
                                           const InvariantContext& context = {}) {
    return violations(application.machine, application.state, context);
}

} // namespace velto
