// DispatchTerminationSignals: SIGTERM, SIGINT and SIGHUP, as events of the main queue instead of the
// program's end.
//
// Owned by the entry point; main thread only.
#pragma once

#include <array>
#include <functional>

namespace velto {

class DispatchTerminationSignals {
  public:
    /// Calls the handler, on the main queue, for every such signal from now on.
    explicit DispatchTerminationSignals(std::function<void()> handler);
    DispatchTerminationSignals(const DispatchTerminationSignals&) = delete;
    DispatchTerminationSignals& operator=(const DispatchTerminationSignals&) = delete;
    /// From then on they are ignored.
    ~DispatchTerminationSignals();

  private:
    std::function<void()> handler_;
    std::array<void*, 3> sources_{}; // of the system, as opaque handles
};

} // namespace velto
