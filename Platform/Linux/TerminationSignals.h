// TerminationSignals: SIGTERM, SIGINT and SIGHUP, as events of the main loop instead of the program's end.
//
// Made in main() before any thread: one that is started earlier would still be ended by them.
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"

#include <functional>

namespace velto {

class TerminationSignals {
  public:
    TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

    /// Calls the handler for every signal from now on, those that came before included. Once; the
    /// watcher must outlive this.
    void observe(FileDescriptorWatcher& watcher, std::function<void()> handler);

  private:
    int descriptor_ = -1;
    FileDescriptorWatcher* watcher_ = nullptr; // none until observed
};

} // namespace velto
