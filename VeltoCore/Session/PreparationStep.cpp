#include "VeltoCore/Session/PreparationStep.h"

namespace velto {

std::optional<PreparationStep> preparationStep(int rawValue) noexcept {
    if (rawValue < 0 || rawValue >= static_cast<int>(allPreparationSteps.size())) return std::nullopt;
    return static_cast<PreparationStep>(rawValue);
}

std::string_view message(PreparationStep step) noexcept {
    switch (step) {
    case PreparationStep::preparingAudio:
        return "Preparing audio…";
    case PreparationStep::checkingDevices:
        return "Checking devices…";
    case PreparationStep::creatingGroup:
        return "Creating audio group…";
    case PreparationStep::startingPlayback:
        return "Starting playback…";
    }
    return {};
}

} // namespace velto
