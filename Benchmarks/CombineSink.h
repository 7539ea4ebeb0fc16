// CombineSink: how a PulseAudio server, the original or the sound server's, is told to play on two outputs at
// once: by its module, with two commands of its own tool.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"

#include <map>
#include <string>

namespace velto {

class CombineSink {
  public:
    struct Outputs {
        std::string before, first, second;
    };

    /// The environment is that of a program of the server.
    CombineSink(std::map<std::string, std::string> environment, Outputs outputs);

    // Each returns when the commands have ended. Throws std::runtime_error with what the tool said.

    void start();
    void stop();

  private:
    void command(const std::string& words);

    std::map<std::string, std::string> environment_;
    Outputs outputs_;
};

} // namespace velto
