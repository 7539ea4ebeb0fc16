// CoreAudioClientUnderTest: a client and the audio system that it speaks to, with at least one output.
//
// On a Mac that is the user's own: what a test changes there it puts back.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioClient.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velto {

/// Hands on the cables of a machine, and on its audio service. What is done is heard of a moment later.
class Workbench {
  public:
    virtual ~Workbench() = default;
    virtual void unplug(const std::string& uid) = 0;
    /// The same device comes back.
    virtual void replug(const std::string& uid) = 0;
    /// As when it crashes.
    virtual void stopService() = 0;
    /// It comes back with the outputs that it had.
    virtual void startService() = 0;
    /// It is there and answers nobody, until it is resumed.
    virtual void hangService() = 0;
    virtual void resumeService() = 0;
};

class CoreAudioClientUnderTest {
  public:
    virtual ~CoreAudioClientUnderTest() = default;
    virtual CoreAudioClient& client() = 0;
    /// Runs the main actor until the condition holds; false after a long while, or when nothing can happen
    /// any more.
    virtual bool runUntil(const std::function<bool()>& condition) = 0;
    /// Null for a machine that is somebody's own.
    virtual Workbench* workbench() { return nullptr; }
};

struct CoreAudioClientMaker {
    std::string name;
    std::function<std::unique_ptr<CoreAudioClientUnderTest>()> make;
    bool hasWorkbench = false;
};

/// All that the test program has.
std::vector<CoreAudioClientMaker> coreAudioClientsUnderTest();

} // namespace velto
