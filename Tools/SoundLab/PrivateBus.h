// PrivateBus: a message bus of our own, ended with its owner.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <signal.h>

#include <string>

namespace velto {

class PrivateBus {
  public:
    /// Throws std::runtime_error when there can be none.
    PrivateBus();

    const std::string& address() const noexcept { return address_; }
    /// As if it had crashed.
    void kill() { daemon_.kill(); }
    /// It hangs until it goes on.
    void stop() { daemon_.signal(SIGSTOP); }
    void goOn() { daemon_.signal(SIGCONT); }

  private:
    OwnedFolder folder_;
    ChildProcess daemon_;
    std::string address_;
};

} // namespace velto
