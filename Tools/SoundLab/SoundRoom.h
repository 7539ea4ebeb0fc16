// SoundRoom: a virtual room in which outputs of a private sound server really sound later, and an input of
// that server which hears them: with their reflections, the room's reverberation and its noise.
//
// It is a client of its own. A filter hears the outputs' monitors and plays into a null sink that is a
// source: a filter itself is no input for the session manager. Both run by the server's dummy driver, because
// what the graph's driver plays is heard a cycle late by who follows it. While it lives the outputs are
// awake.
#pragma once

#include "Simulation/VirtualRoom.h"
#include "Tools/SoundLab/SoundLab.h"

#include <pipewire/filter.h>

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace velto {

class SoundRoom {
  public:
    static constexpr const char* input = "velto.lab.microphone";
    static constexpr const char* inputName = "Room Microphone";

    /// The outputs are there, in the order of the room's. Returns when the input hears them. Throws
    /// std::runtime_error.
    SoundRoom(const std::string& socket, const VirtualRoom& room, std::array<std::string, 2> outputs);
    SoundRoom(const SoundRoom&) = delete;
    SoundRoom& operator=(const SoundRoom&) = delete;
    ~SoundRoom();

    /// Makes it another room.
    void change(const VirtualRoom& room);
    /// The input goes, as when it is pulled out.
    void unplugInput();

  private:
    struct Events;
    struct Ear {
        std::string output;
        void* port = nullptr;
        std::vector<VirtualRoom::Path> paths;
        std::vector<float> heard; // the last that came, as much as the longest path needs, and the present
    };

    void connect();
    void link();
    bool isLinked();
    void request(const PipeWirePort& from, const PipeWirePort& to);
    void process(const spa_io_position& position);

    static constexpr double sampleRate = 48000;
    static constexpr std::size_t longestCycle = 8192;

    SoundLab lab_;
    std::array<Ear, 2> ears_;
    void* microphone_ = nullptr;
    pw_filter* filter_ = nullptr;
    spa_hook hook_{};
    std::map<std::pair<std::uint32_t, std::uint32_t>, pw_proxy*> links_;
    std::mutex mutex_; // guards the room: the audio thread waits for no longer than it is exchanged
    double noise_ = 0;
    double ceiling_ = 1;
    std::minstd_rand random_;
};

} // namespace velto
