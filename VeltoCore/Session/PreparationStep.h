// PreparationStep: how far a start has got, for the user.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace velto {

/// The values are the raw values; later steps compare greater.
enum class PreparationStep : int {
    preparingAudio = 0,
    checkingDevices = 1,
    creatingGroup = 2,
    startingPlayback = 3,
};

inline constexpr std::array allPreparationSteps{
    PreparationStep::preparingAudio, PreparationStep::checkingDevices, PreparationStep::creatingGroup,
    PreparationStep::startingPlayback};

constexpr int rawValue(PreparationStep step) noexcept { return static_cast<int>(step); }
/// None for anything but 0 to 3.
std::optional<PreparationStep> preparationStep(int rawValue) noexcept;

std::string_view message(PreparationStep step) noexcept;

} // namespace velto
