// SoundWorkshop: where the benchmarks of sound keep their recordings, sources and stories, and what they
// fill: one table of figures.
#pragma once

#include "Benchmarks/FigureTable.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/OwnedFolder.h"
#include "Tools/SoundLab/VoiceRecording.h"

#include <cstddef>
#include <filesystem>

namespace velto {

/// All of it is gone with the value, but what was printed.
struct SoundWorkshop {
    OwnedFolder owned{"velto-bench"};
    std::filesystem::path folder = owned.path();
    FigureTable table;

    SoundWorkshop() { writeVoiceRecording(source(), 120); }
    std::filesystem::path source() const { return folder / "source.wav"; }
};

/// The place of a moment in a recording in stereo.
inline std::size_t sampleAt(double seconds) {
    return static_cast<std::size_t>(seconds * OutputRecorder::sampleRate) * 2;
}

} // namespace velto
