#include "VeltoCore/Sync/Alignment.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace velto {

namespace {

/// Outputs that differ by less are together as far as anybody can tell.
constexpr double together = 0.05;

std::string notHeard(const AlignedOutput& output) {
    return fmt::format("{} was not heard. Turn it up, or bring the microphone nearer to it.", output.name);
}

} // namespace

std::string sentence(const Alignment& alignment) {
    const double late = alignment.before.milliseconds();
    const double rest =
        std::max(outputDelayStep, std::ceil(std::abs(alignment.after.milliseconds()) * 10) / 10);
    const AlignedOutput& later = alignment.outputs[late < 0 ? 0 : 1];
    if (std::abs(late) < together) return fmt::format("Both arrive together already (±{:.1f} ms).", rest);
    return fmt::format("{} was {:.1f} ms late. Both now arrive together (±{:.1f} ms).", later.name,
                       std::abs(late), rest);
}

std::string sentence(AlignmentFailure failure, const AlignedOutputs& outputs, const std::string& input) {
    const std::string microphone = input.empty() ? "The microphone" : input;
    switch (failure) {
    case AlignmentFailure::tooQuiet:
        return fmt::format("{} hears too little. Turn the outputs or the input up.", microphone);
    case AlignmentFailure::clipped:
        return fmt::format("{} is overdriven. Turn the outputs or the input down.", microphone);
    case AlignmentFailure::tooNoisy:
        return "It is too noisy here. Turn the outputs up, or what is loud off.";
    case AlignmentFailure::firstNotHeard:
        return notHeard(outputs[0]);
    case AlignmentFailure::secondNotHeard:
        return notHeard(outputs[1]);
    case AlignmentFailure::unclear:
        return "What was heard was not clear enough. Bring the microphone nearer to the outputs, and try "
               "again.";
    case AlignmentFailure::disagreement:
        return "Two measurements did not agree, so nothing was changed. Leave all where it is, and try "
               "again.";
    case AlignmentFailure::tooLate:
        return fmt::format("The outputs are further apart than the {:.0f} ms by which one can be delayed.",
                           longestOutputDelay);
    case AlignmentFailure::noInput:
        return "There is no microphone. Connect one, or choose it as the system's input.";
    case AlignmentFailure::anotherInput:
        return "The system did not let the chosen input be heard. Connect it again, or choose another one.";
    case AlignmentFailure::inputLost:
        return fmt::format("{} is gone. Connect it again, or choose another input.", microphone);
    case AlignmentFailure::cancelled:
        return "The alignment was cancelled; nothing was changed.";
    case AlignmentFailure::sessionChanged:
        return "What plays was changed meanwhile, so nothing was measured. Try again.";
    case AlignmentFailure::outputLost:
        return "An output is gone. Connect it again, and try again.";
    case AlignmentFailure::asleep:
        return "The computer went to sleep, so nothing was measured. Try again.";
    case AlignmentFailure::noSession:
        return "Nothing plays together. Play together on two outputs first.";
    case AlignmentFailure::notPossible:
        return "Outputs can't be measured on this system.";
    case AlignmentFailure::refused:
        return "The sweeps could not be played. Reconnect the outputs, and try again.";
    }
    return {};
}

} // namespace velto
