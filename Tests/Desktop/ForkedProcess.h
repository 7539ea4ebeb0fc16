// ForkedProcess: a copy of the test that does something of its own, and ends with the status that it answers.
#pragma once

#include <sys/types.h>

#include <functional>

namespace velto {

class ForkedProcess {
  public:
    /// What it does is given a function by which it says that it has got so far.
    explicit ForkedProcess(const std::function<int(const std::function<void()>& tellReady)>& work);
    ForkedProcess(const ForkedProcess&) = delete;
    ForkedProcess& operator=(const ForkedProcess&) = delete;
    ~ForkedProcess();

    /// False when it ended before it said so.
    bool waitUntilReady();
    void signal(int number);
    /// The exit status; 128 and more for a signal.
    int wait();

  private:
    pid_t id_ = -1; // none once it was waited for
    int ready_ = -1;
};

} // namespace velto
