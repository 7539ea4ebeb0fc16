// The simulated world under test: it must behave as real ones do, or what is tested over it proves nothing.
#pragma once

#include "Tests/Contract/CoreAudioClientUnderTest.h"

namespace velto {

/// Changes take their time there, as on a real one.
std::unique_ptr<CoreAudioClientUnderTest> makeSimulatedClientUnderTest();

} // namespace velto
