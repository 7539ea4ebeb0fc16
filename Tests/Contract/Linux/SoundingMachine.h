// SoundingMachine: a machine with a sound server of its own, which touches no hardware, and a client to it.
#pragma once

#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"
#include "Tests/Contract/RealLoop.h"
#include "Tests/PipeWire/ServedDevice.h"
#include "Tools/SoundLab/PrivateSoundServer.h"
#include "Tools/SoundLab/SoundLab.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace velto {

class SoundingMachine {
  public:
    SoundingMachine() {
        plugAll();
        client.emplace(loop.actor(), loop.actor(), server.socket());
    }

    /// As it is plugged.
    static VirtualOutput output(const std::string& uid) {
        return uid == "desk" ? VirtualOutput::builtIn(uid, "Desk Speakers")
                             : VirtualOutput::usb(uid, "USB Interface");
    }
    /// As in a crash.
    void stopServer() {
        plain.reset();
        microphone.reset();
        lab.reset();
        server.kill();
    }
    void startServer() {
        server.start();
        lab.emplace(server.socket());
        plugAll();
    }

    RealLoop<LinuxMainActor> loop;
    PrivateSoundServer server;
    std::optional<SoundLab> lab{std::in_place, server.socket()};
    std::optional<ServedDevice> microphone;
    /// An output without volume and mute.
    std::optional<ServedDevice> plain;
    std::optional<PipeWireAudioClient> client;

  private:
    void plugAll() {
        for (const char* uid : {"desk", "usb"})
            lab->plug(output(uid));
        if (!lab->waitForDefault("desk"))
            throw std::runtime_error("The private sound server has no default output");
        microphone.emplace(*lab, "microphone", "Audio/Source", SPA_DIRECTION_OUTPUT);
        plain.emplace(*lab, "plain", "Audio/Sink", SPA_DIRECTION_INPUT);
        for (const auto* device : {&*microphone, &*plain})
            if (!lab->waitUntil([&] { return !lab->graph().ports(device->globalID()).empty(); }))
                throw std::runtime_error("The private sound server has no served device");
    }
};

} // namespace velto
