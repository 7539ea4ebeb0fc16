#include "Platform/Linux/BusConnection.h"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace velto {

void BusConnection::require(int result) {
    if (result < 0) throw std::runtime_error(std::strerror(-result));
}

std::shared_ptr<BusConnection> BusConnection::open(FileDescriptorWatcher& watcher, const std::string& address,
                                                   std::function<void()> broken) {
    std::shared_ptr<BusConnection> connection(new BusConnection(watcher, std::move(broken)));
    connection->connect(address);
    return connection;
}

BusConnection::~BusConnection() {
    end();
    sd_bus_close_unref(bus_);
}

void BusConnection::connect(const std::string& address) {
    if (address.empty()) {
        require(sd_bus_open_user(&bus_));
    } else {
        require(sd_bus_new(&bus_));
        require(sd_bus_set_address(bus_, address.c_str()));
        require(sd_bus_set_bus_client(bus_, 1));
        require(sd_bus_start(bus_));
    }
    require(sd_bus_flush(bus_));
    descriptor_ = sd_bus_get_fd(bus_);
    watcher_.watchReadable(descriptor_, [this] { process(); });
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
    if (result >= 0) return;
    const auto broken = std::exchange(broken_, {});
    end();
    if (broken) broken();
}

} // namespace velto
