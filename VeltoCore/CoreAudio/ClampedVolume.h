// ClampedVolume: a volume as devices take it.
#pragma once

#include <algorithm>

namespace velto {

/// From 0 to 1; what lies outside is taken as the nearest end, and what is no number as silence.
constexpr float clampedVolume(float volume) noexcept { return volume > 0 ? std::min(volume, 1.0F) : 0.0F; }

} // namespace velto
