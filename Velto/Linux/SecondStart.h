// SecondStart: starts the program once more, which tries the display and has this one open its windows there.
//
// Part of the program; main actor only. Where the display takes no windows, the process that ends for it is
// the second one, and what plays goes on.
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"

namespace velto {

class SecondStart {
  public:
    explicit SecondStart(FileDescriptorWatcher& watcher) : watcher_(watcher) {}
    SecondStart(const SecondStart&) = delete;
    SecondStart& operator=(const SecondStart&) = delete;
    ~SecondStart() { release(); }

    /// Nothing while one is under way. What goes wrong is logged.
    void begin();

  private:
    void ended();
    void release();

    FileDescriptorWatcher& watcher_;
    int process_ = -1; // a descriptor of it; none while none is under way
};

} // namespace velto
