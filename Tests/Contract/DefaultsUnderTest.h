// DefaultsUnderTest: a platform's stored settings, in a place of the test's own: empty at first, and gone
// with it.
#pragma once

#include "VeltoCore/Services/UserDefaults.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

class DefaultsUnderTest {
  public:
    virtual ~DefaultsUnderTest() = default;
    virtual UserDefaults& defaults() = 0;
    /// Ends the program, as it were, and starts it again: defaults() is another object.
    virtual void reopen() = 0;
    /// What another program would read that looks now.
    virtual std::optional<DefaultsValue> storedForOthers(std::string_view key) = 0;
    /// Stores a list, as another program might, and starts again.
    virtual void storeListAndReopen(const std::string& key) = 0;
};

std::unique_ptr<DefaultsUnderTest> makeDefaultsUnderTest();

} // namespace velto
