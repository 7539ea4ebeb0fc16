// FoundationTextCollation: names in the order in which the system's own lists show them.
#pragma once

#include "VeltoCore/Services/TextCollation.h"

#include <string_view>

namespace velto {

class FoundationTextCollation final : public TextCollation {
  public:
    int compare(std::string_view first, std::string_view second) const override;
};

} // namespace velto
