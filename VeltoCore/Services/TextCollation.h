// TextCollation: how the platform orders names for a reader.
#pragma once

#include <string_view>

namespace velto {

class TextCollation {
  public:
    virtual ~TextCollation() = default;
    /// The localized standard order: runs of digits by their value, so that "Speaker 2" comes before
    /// "speaker 10"; letter case at most where nothing else differs. Negative, zero or positive, as `first`
    /// sorts before, with or after `second`.
    virtual int compare(std::string_view first, std::string_view second) const = 0;
};

} // namespace velto
