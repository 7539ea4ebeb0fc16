// RunningInstance: another Velto of this user that runs already. Two would fight over the outputs.
//
// The system itself starts no second one when the program is opened again; this is for copies of it, and for
// those that are started in other ways. Main thread only.
#pragma once

#include <functional>
#include <memory>

namespace velto {

/// Asks it to show itself; false when there is none.
bool handOverToRunningInstance();

/// Calls the handler when a second one has handed over to this one, for as long as it lives.
class HandOverObserver {
  public:
    explicit HandOverObserver(std::function<void()> handler);
    HandOverObserver(const HandOverObserver&) = delete;
    HandOverObserver& operator=(const HandOverObserver&) = delete;
    ~HandOverObserver();

  private:
    struct Observation;
    std::unique_ptr<Observation> observation_;
};

} // namespace velto
