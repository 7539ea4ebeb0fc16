// IcuTextCollation: the order of names by the user's locale, through ICU.
#pragma once

#include "VeltoCore/Services/TextCollation.h"

#include <memory>

struct UCollator;

namespace velto {

class IcuTextCollation final : public TextCollation {
  public:
    /// Takes the process's locale; the root order for the C locale and where ICU has none for it.
    IcuTextCollation();
    ~IcuTextCollation() override;

    int compare(std::string_view first, std::string_view second) const override;

  private:
    struct Close {
        void operator()(UCollator* collator) const noexcept;
    };
    std::unique_ptr<UCollator, Close> collator_;
};

} // namespace velto
