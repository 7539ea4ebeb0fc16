// DefaultsDocument: the user's defaults as the text of one JSON object.
//
// Entries of a kind that this program never stores read as absent and are kept as they are.
#pragma once

#include "VeltoCore/Services/UserDefaults.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

class DefaultsDocument {
  public:
    /// An empty one.
    DefaultsDocument();
    DefaultsDocument(DefaultsDocument&& other) noexcept;
    DefaultsDocument& operator=(DefaultsDocument&& other) noexcept;
    ~DefaultsDocument();

    /// None unless the text is one JSON object, not nested too deep.
    static std::optional<DefaultsDocument> parse(std::string_view text);
    std::string text() const;

    std::optional<DefaultsValue> value(std::string_view key) const;
    /// A double must be finite: others have no JSON form.
    void set(std::string_view key, const DefaultsValue& value);
    /// False when there was nothing to remove.
    bool remove(std::string_view key);

  private:
    struct Tree;

    std::unique_ptr<Tree> tree_;
};

} // namespace velto
