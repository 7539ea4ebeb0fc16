// A desktop for tests: Qt without a display, on a session bus that is the test program's own.
#pragma once

#include <chrono>
#include <functional>

namespace velto {

/// Runs Qt's loop until the condition holds; false after a long while.
bool runUntil(const std::function<bool()>& condition,
              std::chrono::milliseconds patience = std::chrono::seconds(10));

} // namespace velto
