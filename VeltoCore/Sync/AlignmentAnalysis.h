// AlignmentAnalysis: from a recording of both sounds of an AlignmentProbe to when each was heard first, or
// why that can't be told.
//
// Pure and stateless; takes some tens of milliseconds, so call it away from the main loop. Never guesses:
// where a direct sound could hide in noise, or the parts of a sweep disagree, it refuses.
#pragma once

#include "VeltoCore/Sync/AlignmentProbe.h"

#include <expected>
#include <span>

namespace velto {

enum class AlignmentRefusal {
    /// No sound, or too little of it: the microphone is muted, far away, or another one.
    tooQuiet,
    /// The microphone was overdriven.
    clipped,
    /// Neither output is heard clearly enough above everything else.
    tooNoisy,
    /// Only the other output is.
    risingNotHeard,
    fallingNotHeard,
    /// A sweep had not ended when the recording did, or samples are no numbers.
    interrupted,
    /// The parts of a sweep tell different times, as when samples are missing in between.
    unclear,
    /// Two measurements contradict each other.
    implausible,
};

struct Arrival {
    /// From the start of the recording to the first sound, which is the direct one.
    double milliseconds = 0;
    /// How far the sound stands out of everything else that is heard: its height over the median.
    double clarity = 0;

    friend bool operator==(const Arrival&, const Arrival&) = default;
};

struct AlignmentMeasurement {
    Arrival rising;
    Arrival falling;

    /// How much later the falling sweep's output is heard; negative where it is earlier.
    double milliseconds() const noexcept { return falling.milliseconds - rising.milliseconds; }

    friend bool operator==(const AlignmentMeasurement&, const AlignmentMeasurement&) = default;
};

/// The recording is of the probe's sample rate, and starts before the first output is heard. Both sweeps were
/// played at the same moment.
std::expected<AlignmentMeasurement, AlignmentRefusal> alignment(const AlignmentProbe& probe,
                                                                std::span<const float> recording);

/// What a second measurement says of the first, after the falling sweep's output was delayed by so much more
/// than the other: how late that output still is, or that they contradict each other.
std::expected<double, AlignmentRefusal>
remainder(const AlignmentMeasurement& first, const AlignmentMeasurement& second, double addedMilliseconds);

} // namespace velto
