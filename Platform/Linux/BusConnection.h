// BusConnection: a connection to a message bus, served on the main actor.
//
// Shared by who uses it, so that it may be ended and dropped from within what it calls; main actor only.
// Nothing but flush() waits, also for a bus that hangs: what is sent before the bus has answered goes out
// once it has.
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"

#include <systemd/sd-bus.h>

#include <functional>
#include <memory>
#include <string>

namespace velto {

class BusConnection : public std::enable_shared_from_this<BusConnection> {
  public:
    /// Called, from the main loop, when the bus has gone, with a sentence's end that says why. The connection
    /// is ended then.
    using Broken = std::function<void(const std::string& why)>;
    enum class Bus { session, system };

    /// `address` is a D-Bus address; empty for the bus itself. Throws std::system_error when it can't be had.
    static std::shared_ptr<BusConnection> open(FileDescriptorWatcher& watcher, Bus which,
                                               const std::string& address, Broken broken);
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;
    ~BusConnection();

    sd_bus* bus() const noexcept { return bus_; }
    /// Waits until all is sent, and the bus has answered.
    void flush() noexcept { sd_bus_flush(bus_); }
    /// Nothing is received from now on.
    void end() noexcept;

    /// Throws std::system_error for a negative result.
    static void require(int result);

  private:
    BusConnection(FileDescriptorWatcher& watcher, Broken broken)
        : watcher_(watcher), broken_(std::move(broken)) {}
    void connect(Bus which, const std::string& address);
    void process();
    void sendWhenPossible();

    FileDescriptorWatcher& watcher_;
    Broken broken_;
    sd_bus* bus_ = nullptr;
    int descriptor_ = -1; // the bus's, while it is watched: the bus itself forgets it when it breaks
};

/// A message that is given back at the end.
struct BusMessage {
    BusMessage() = default;
    BusMessage(const BusMessage&) = delete;
    BusMessage& operator=(const BusMessage&) = delete;
    ~BusMessage() { sd_bus_message_unref(message); }
    sd_bus_message* message = nullptr;
};

} // namespace velto
