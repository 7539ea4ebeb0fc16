// Alignment: what a measurement of two outputs came to: how late each was heard before and after, or why that
// can't be told; and how either is said to the user.
#pragma once

#include "VeltoCore/Sync/AlignmentAnalysis.h"
#include "VeltoCore/Sync/OutputDelays.h"

#include <array>
#include <string>

namespace velto {

struct AlignedOutput {
    std::string uid;
    std::string name;

    friend bool operator==(const AlignedOutput&, const AlignedOutput&) = default;
};

/// The first plays the rising sweep, the second the falling one.
using AlignedOutputs = std::array<AlignedOutput, 2>;

struct Alignment {
    AlignedOutputs outputs;
    /// When each was heard, without and with the delays that were found.
    AlignmentMeasurement before;
    AlignmentMeasurement after;
    /// By which both are heard together.
    OutputDelays delays;

    friend bool operator==(const Alignment&, const Alignment&) = default;
};

enum class AlignmentFailure {
    // What was heard
    tooQuiet,
    clipped,
    tooNoisy,
    firstNotHeard,
    secondNotHeard,
    /// Some of it is missing, or contradicts itself.
    unclear,
    /// Two measurements contradict each other, or the second doesn't confirm the first.
    disagreement,
    /// More than outputs can be delayed.
    tooLate,
    // The input
    noInput,
    anotherInput,
    inputLost,
    // What came in between
    cancelled,
    sessionChanged,
    outputLost,
    asleep,
    // What it takes
    noSession,
    notPossible,
    refused,
};

/// Such as "JBL Flip 6 was 183.4 ms late. Both now arrive together (±0.1 ms)."
std::string sentence(const Alignment& alignment);
/// What was wrong, and what to do. `input` is the name of the one that was heard; empty where it isn't known.
std::string sentence(AlignmentFailure failure, const AlignedOutputs& outputs, const std::string& input);

} // namespace velto
