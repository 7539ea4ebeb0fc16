// PrivatePulse: the sound server's own PulseAudio, for programs that speak nothing else, on a private server.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/PrivateSoundServer.h"

#include <map>
#include <optional>
#include <string>

namespace velto {

class PrivatePulse {
  public:
    /// Returns when it answers. Throws std::runtime_error with one sentence. The environment is that of a
    /// program of the server.
    PrivatePulse(const PrivateSoundServer& server, std::map<std::string, std::string> environment);

    pid_t process() const noexcept { return program_->id(); }

  private:
    std::optional<ChildProcess> program_;
};

} // namespace velto
