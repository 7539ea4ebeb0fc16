// VirtualRoom: two outputs and a microphone in a room, as arithmetic: what the microphone records of what is
// played.
//
// Each output sounds later, as loud as it is, directly, by its reflections and by the room's reverberation.
// All chance is of the seed. Where the truth is known and the room can be as bad as any, what measures rooms
// can be held to it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace velto {

struct VirtualRoom {
    struct Output {
        /// From what is played to its direct sound at the microphone; parts of a frame count.
        double milliseconds = 0;
        /// Of the direct sound.
        double gain = 1;
        /// Of a single reflection, as a table makes; after the direct sound and against it.
        double reflectionMilliseconds = 1;
        double reflectionGain = 0;
    };
    /// A way that the sound takes.
    struct Path {
        std::size_t frames = 0;
        double gain = 0;
    };

    std::array<Output, 2> outputs;
    /// Until the reverberation is 60 dB lower; 0 for none.
    double reverberationSeconds = 0;
    /// Energy, in dB.
    double directToReverberant = 0;
    /// Each as its root mean square at the microphone, of full scale.
    double noise = 0;
    double hum = 0;
    double music = 0;
    /// What the microphone makes louder ones to.
    double ceiling = 1;
    std::uint64_t seed = 1;

    /// All ways from an output to the microphone.
    std::vector<Path> paths(std::size_t output, double sampleRate) const;
    /// What the microphone records of those frames from the start, in which each output plays its own sound.
    std::vector<float> recording(std::array<std::span<const float>, 2> played, double sampleRate,
                                 std::size_t frames) const;
};

} // namespace velto
