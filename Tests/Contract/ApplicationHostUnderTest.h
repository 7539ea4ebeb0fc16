// ApplicationHostUnderTest: a platform's desktop as a program asks for it, with a user and a machine at it.
#pragma once

#include "VeltoCore/Services/ApplicationHost.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

class ApplicationHostUnderTest {
  public:
    virtual ~ApplicationHostUnderTest() = default;
    virtual ApplicationHost& host() = 0;
    /// The machine falls asleep, or wakes; whoever is told has been told when these return.
    virtual void fallAsleep() = 0;
    virtual void wake() = 0;
    /// What a user would paste.
    virtual std::string pasteboardText() = 0;
    /// What the program that runs these tests was built with.
    virtual std::optional<std::string> builtWith(std::string_view bundleKey) = 0;
};

std::unique_ptr<ApplicationHostUnderTest> makeApplicationHostUnderTest();

} // namespace velto
