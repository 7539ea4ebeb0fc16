// SimulatedMicrophone: hears in virtual time what the outputs of a simulated audio system play: the sweeps,
// in a virtual room, and nothing else.
//
// Main actor only; both the system and the room, which may be changed at any time, must outlive it.
#pragma once

#include "Simulation/SimulatedAudioSystem.h"
#include "Simulation/VirtualRoom.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Sync/Microphone.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velto {

struct SimulatedRoom {
    /// How each output sounds at the microphone, by UID; others are heard at once.
    std::map<std::string, VirtualRoom::Output> outputs;
    /// All else; of its outputs nothing counts.
    VirtualRoom acoustics;
    /// The name of the input that is heard; empty while it hears nothing at all.
    std::string input = "Microphone";
    std::optional<Microphone::Recording::Trouble> trouble;
    /// Whether it can't be opened.
    bool isRefused = false;
    /// Recordings that are open.
    int openCount = 0;
};

class SimulatedMicrophone final : public Microphone {
  public:
    SimulatedMicrophone(MainActor& actor, const SimulatedAudioSystem& world, SimulatedRoom& room)
        : actor_(actor), world_(world), room_(room) {}

    std::unique_ptr<Recording> record(const std::string& uid, double sampleRate) override;

  private:
    class Hearing;

    MainActor& actor_;
    const SimulatedAudioSystem& world_;
    SimulatedRoom& room_;
};

} // namespace velto
