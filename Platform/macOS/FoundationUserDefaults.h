// FoundationUserDefaults: the user's defaults as the system stores them for this program.
//
// Main actor only. What is set is with the system at once, and on disk when the system writes it: a program
// that is killed loses nothing.
#pragma once

#include "VeltoCore/Services/UserDefaults.h"

#include <memory>
#include <optional>
#include <string_view>

namespace velto {

class FoundationUserDefaults final : public UserDefaults {
  public:
    /// Those of the program.
    FoundationUserDefaults();
    /// Those of a domain of their own.
    explicit FoundationUserDefaults(std::string_view suiteName);
    ~FoundationUserDefaults() override;

    std::optional<DefaultsValue> storedValue(std::string_view key) const override;
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    void synchronize() override;

  private:
    struct Store;
    std::unique_ptr<Store> store_;
};

} // namespace velto
