// Heartbeat: tells whoever started the program that it is well, a line each tenth of a second, while sound
// runs; while none does, it says so once and costs nothing.
//
// Never waits: what nobody reads is not said, but for the word that it rests, which is said later.
#pragma once

#include "Platform/Linux/Delay/LoopSource.h"

#include <functional>
#include <string_view>

namespace velto {

class Heartbeat {
  public:
    /// The descriptor stays the caller's. `eachBeat` is called, also where nobody reads any more.
    Heartbeat(pw_loop* loop, int descriptor, std::function<void()> eachBeat);

    /// Says at once which it is.
    void setBeating(bool isBeating);

  private:
    void turn();
    bool say(std::string_view word);

    int descriptor_;
    std::function<void()> eachBeat_;
    LoopSource timer_;
    bool isBeating_ = false;
};

} // namespace velto
