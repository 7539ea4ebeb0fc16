// StatusItemLabel: how the status item shows whether outputs play together. Pure.
#pragma once

#include "VeltoCore/Session/VeltoStatus.h"

#include <string_view>

namespace velto {

struct StatusItemLabel {
    StatusItemLabel() = delete;

    /// The name of a system symbol.
    static std::string_view symbolName(const VeltoStatus& status) noexcept;
    /// What is read out for the symbol.
    static std::string_view accessibilityText(const VeltoStatus& status) noexcept;
};

} // namespace velto
