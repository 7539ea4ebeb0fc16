// What a saved setup may be called.
//
// A blank name is never taken, and needs no explanation. One name is the program's own: a setup of the user's
// under it would be hidden, and overwritten by the next session.
#pragma once

#include "VeltoCore/Foundation/TrimmedText.h"
#include "VeltoCore/Settings/AudioPreset.h"

#include <optional>
#include <string_view>

namespace velto {

/// Why the typed name can't be had, as a sentence; none for any other.
inline std::optional<std::string_view> presetNameProblem(std::string_view typed) noexcept {
    if (trimmed(typed) != AudioPreset::lastUsedName) return std::nullopt;
    return "“Last Used” is what Velto calls the outputs that played last. Choose another name.";
}

inline bool isPresetName(std::string_view typed) noexcept {
    return !trimmed(typed).empty() && !presetNameProblem(typed);
}

} // namespace velto
