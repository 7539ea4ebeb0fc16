#include "Velto/Shell/StatusItemLabel.h"

namespace velto {

std::string_view StatusItemLabel::symbolName(const VeltoStatus& status) noexcept {
    return status.isPlaying() ? "hifispeaker.2" : "speaker.wave.2";
}

std::string_view StatusItemLabel::accessibilityText(const VeltoStatus& status) noexcept {
    return status.isPlaying() ? "Velto, playing together" : "Velto";
}

} // namespace velto
