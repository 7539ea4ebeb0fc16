// BusConnection: a connection to a message bus, served on the main actor.
//
// Shared by who uses it, so that it may be ended and dropped from within what it calls; main actor only. To
// make it and to send may take the time of the bus's own answer, never that of another program.
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"

#include <systemd/sd-bus.h>

#include <functional>
#include <memory>
#include <string>

namespace velto {

class BusConnection : public std::enable_shared_from_this<BusConnection> {
  public:
    /// `address` is a D-Bus address; empty for the bus of the user's session. Throws std::runtime_error when
    /// it can't be had. `broken` is called, from the main loop, when the bus goes; it is ended then.
    static std::shared_ptr<BusConnection> open(FileDescriptorWatcher& watcher, const std::string& address,
                                               std::function<void()> broken);
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;
    ~BusConnection();

    sd_bus* bus() const noexcept { return bus_; }
    /// Sends what waits to be sent.
    void flush() noexcept { sd_bus_flush(bus_); }
    /// Nothing is received from now on.
    void end() noexcept;

    /// Throws std::runtime_error for a negative result.
    static void require(int result);

  private:
    BusConnection(FileDescriptorWatcher& watcher, std::function<void()> broken)
        : watcher_(watcher), broken_(std::move(broken)) {}
    void connect(const std::string& address);
    void process();

    FileDescriptorWatcher& watcher_;
    std::function<void()> broken_;
    sd_bus* bus_ = nullptr;
    int descriptor_ = -1; // the bus's, while it is watched: the bus itself forgets it when it breaks
};

} // namespace velto
