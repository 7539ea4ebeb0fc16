// DefaultsDocument: the user's defaults as the text of one JSON object, for people to read.
//
// Truth values, numbers and strings are what they are. Bytes that are JSON themselves, as the program's own
// records are, stand as such under the one key "json" of an object, as long as not a byte of them would come
// back changed; all others stand as base64 text under "data". Entries of a kind that this program never
// stores read as absent, and are kept as they are.
#pragma once

#include "VeltoCore/Services/UserDefaults.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

class DefaultsDocument {
  public:
    /// What is longer, or nested deeper, is neither read nor written.
    static constexpr std::size_t largestSize = std::size_t{16} << 20U;
    static constexpr int deepestNesting = 32;

    /// None unless the text is one JSON object within these limits.
    static std::optional<DefaultsDocument> parse(std::string_view text);
    /// Indented; without any white space where it would be too long otherwise.
    std::string text() const;

    std::optional<DefaultsValue> value(std::string_view key) const;
    enum class Change { none, made, /** The text would become too long. */ refused };
    /// A double must be finite: others have no JSON form.
    Change set(std::string_view key, const DefaultsValue& value);
    /// False when there was nothing to remove.
    bool remove(std::string_view key);

  private:
    std::string compactText() const;

    std::map<std::string, std::string, std::less<>> entries_; // without white space
};

} // namespace velto
