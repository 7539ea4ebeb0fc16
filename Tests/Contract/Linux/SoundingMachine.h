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

namespace velto {

class SoundingMachine {
  public:
    SoundingMachine() {
        lab.plug(VirtualOutput::builtIn("desk", "Desk Speakers"));
        lab.plug(VirtualOutput::usb("usb", "USB Interface"));
        if (!lab.waitForDefault("desk"))
            throw std::runtime_error("The private sound server has no default output");
        microphone.emplace(lab, "microphone", "Audio/Source", SPA_DIRECTION_OUTPUT);
        plain.emplace(lab, "plain", "Audio/Sink", SPA_DIRECTION_INPUT);
        for (const auto* device : {&*microphone, &*plain})
            if (!lab.waitUntil([&] { return !lab.graph().ports(device->globalID()).empty(); }))
                throw std::runtime_error("The private sound server has no served device");
        client.emplace(loop.actor(), loop.actor(), server.socket());
    }

    RealLoop<LinuxMainActor> loop;
    PrivateSoundServer server;
    SoundLab lab{server.socket()};
    std::optional<ServedDevice> microphone;
    /// An output without volume and mute.
    std::optional<ServedDevice> plain;
    std::optional<PipeWireAudioClient> client;
};

} // namespace velto
