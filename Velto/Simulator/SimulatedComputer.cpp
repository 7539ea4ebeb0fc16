#include "Velto/Simulator/SimulatedComputer.h"

#include "Simulation/SimulatedAudioEngine.h"

#include <utility>

namespace velto {

SimulatedComputer::SimulatedComputer(MainActor& actor, const TextCollation& collation)
    : actor_(actor), collation_(collation), world_(std::make_shared<SimulatedAudioSystem>(actor)) {
    world_->delaysOutputs = true;
}

void SimulatedComputer::plugUsualDevices() {
    const auto plug = [this](SimulatedDevice device) { world_->plug(std::move(device)); };
    plug(SimulatedDevice::builtInSpeakers());
    plug({.uid = "airpods",
          .name = "AirPods Pro",
          .transport = kAudioDeviceTransportTypeBluetooth,
          .latencyFrames = 7680,
          .volume = 0.62F,
          .isMuted = false});
    plug({.uid = "flip",
          .name = "JBL Flip 6",
          .transport = kAudioDeviceTransportTypeBluetooth,
          .latencyFrames = 8700,
          .volume = 0.45F,
          .isMuted = false});
    plug({.uid = "dac", .name = "Topping E30 USB DAC", .manufacturer = "Topping", .volume = 0.8F});
    plug({.uid = "studio", .name = "Studio Display", .transport = kAudioDeviceTransportTypeDisplayPort});
    plug(SimulatedDevice::microphone());
    room_.acoustics.noise = 0.0005;
    room_.outputs["airpods"].milliseconds = 160;
    room_.outputs["flip"].milliseconds = 343.4;
}

PlatformServices SimulatedComputer::platform() {
    return {.actor = actor_,
            .client = world_,
            .defaults = defaults_,
            .collation = collation_,
            .loginItems = loginItems_,
            .host = host_,
            .notifications = notifications_,
            .makeAudioEngine = [](CoreAudioClient&) { return std::make_unique<SimulatedAudioEngine>(); },
            .shortcuts = &shortcuts_,
            .microphone = std::make_unique<SimulatedMicrophone>(actor_, *world_, room_)};
}

void SimulatedComputer::fallAsleep() {
    if (sleep_.observer.willSleep) sleep_.observer.willSleep();
}

void SimulatedComputer::wakeUp() {
    if (sleep_.observer.didWake) sleep_.observer.didWake();
}

} // namespace velto
