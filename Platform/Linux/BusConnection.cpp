#include "Platform/Linux/BusConnection.h"

#include <poll.h>

#include <cstring>
#include <system_error>
#include <utility>

namespace velto {

void BusConnection::require(int result) {
    if (result < 0) throw std::system_error(-result, std::generic_category());
}

std::shared_ptr<BusConnection> BusConnection::open(FileDescriptorWatcher& watcher, Bus which,
                                                   const std::string& address, Broken broken) {
    std::shared_ptr<BusConnection> connection(new BusConnection(watcher, std::move(broken)));
    connection->connect(which, address);
    return connection;
}

BusConnection::~BusConnection() {
    end();
    sd_bus_close_unref(bus_);
}

void BusConnection::connect(Bus which, const std::string& address) {
    if (address.empty()) {
        require(which == Bus::session ? sd_bus_open_user(&bus_) : sd_bus_open_system(&bus_));
    } else {
        require(sd_bus_new(&bus_));
        require(sd_bus_set_address(bus_, address.c_str()));
        require(sd_bus_set_bus_client(bus_, 1));
        require(sd_bus_start(bus_));
    }
    descriptor_ = sd_bus_get_fd(bus_);
    watcher_.watchReadable(descriptor_, [this] { process(); });
    sendWhenPossible();
}

void BusConnection::end() noexcept {
    broken_ = {};
    if (descriptor_ >= 0) watcher_.unwatch(std::exchange(descriptor_, -1));
}

void BusConnection::process() {
    const auto alive = shared_from_this();
    int result = 1;
    while (result > 0 && descriptor_ >= 0)
        result = sd_bus_process(bus_, nullptr);
    if (result >= 0) return sendWhenPossible();
    const Broken broken = std::exchange(broken_, {});
    end();
    if (broken) broken(std::strerror(-result));
}

void BusConnection::sendWhenPossible() {
    if (descriptor_ < 0) return;
    const int events = sd_bus_get_events(bus_);
    if (events >= 0 && (events & POLLOUT) != 0) watcher_.watchWritable(descriptor_, [this] { process(); });
}

} // namespace velto
