// MainActorUnderTest: a platform's main actor with its loop, which the thread that makes it runs.
#pragma once

#include "VeltoCore/Async/MainActor.h"

#include <functional>
#include <memory>

namespace velto {

class MainActorUnderTest {
  public:
    virtual ~MainActorUnderTest() = default;
    virtual MainActor& actor() = 0;
    /// Runs the loop until the condition holds; false after a long while. It is asked whenever something ran.
    virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

std::unique_ptr<MainActorUnderTest> makeMainActorUnderTest();

} // namespace velto
