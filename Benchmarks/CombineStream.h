// CombineStream: the sound server's own way to play on both outputs of a bench, to be measured beside: its
// module that combines streams, in a process of its own. It is the default output while it lives.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/SoundBench.h"

#include <string>

namespace velto {

class CombineStream {
  public:
    /// Returns when it plays on both. The output of before is the default again when it ends, also where it
    /// doesn't come to play. Throws std::runtime_error with one sentence.
    explicit CombineStream(SoundBench& bench, std::string before = SoundBench::desk);
    CombineStream(const CombineStream&) = delete;
    CombineStream& operator=(const CombineStream&) = delete;
    ~CombineStream();

    pid_t process() const noexcept { return program_.id(); }

  private:
    void play();
    void restore() noexcept;

    SoundBench& bench_;
    std::string before_;
    ChildProcess program_;
};

} // namespace velto
