#include "Platform/Linux/LogindSleepMonitor.h"

#include "VeltoCore/Services/LoggingService.h"

#include <systemd/sd-bus.h>

#include <cstring>
#include <string>
#include <system_error>
#include <utility>

namespace velto {

namespace {

/// Machines without logind, as containers are, have no such bus: nothing is wrong with them.
bool isAbsence(const std::error_code& code) noexcept { return code == std::errc::no_such_file_or_directory; }

} // namespace

/// A connection to the bus, for as long as somebody observes; it may be ended from within an observer.
class LogindSleepMonitor::Bus : public std::enable_shared_from_this<Bus> {
  public:
    Bus(FileDescriptorWatcher& watcher, const std::string& address, SleepObserver observer)
        : watcher_(watcher), observer_(std::move(observer)) {
        try {
            connect(address);
            require(sd_bus_match_signal_async(bus_, nullptr, "org.freedesktop.login1",
                                              "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                                              "PrepareForSleep", &Bus::prepareForSleep, nullptr, this));
            require(sd_bus_flush(bus_));
        } catch (...) {
            sd_bus_unref(bus_);
            throw;
        }
        descriptor_ = sd_bus_get_fd(bus_);
        watcher_.watchReadable(descriptor_, [this] { process(); });
    }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;
    ~Bus() {
        end();
        sd_bus_close_unref(bus_);
    }

    /// Nothing is announced from now on.
    void end() {
        observer_ = {};
        if (descriptor_ >= 0) watcher_.unwatch(std::exchange(descriptor_, -1));
    }

  private:
    static void require(int result) {
        if (result < 0) throw std::system_error(-result, std::generic_category());
    }

    void connect(const std::string& address) {
        if (address.empty()) {
            require(sd_bus_open_system(&bus_));
            return;
        }
        require(sd_bus_new(&bus_));
        require(sd_bus_set_address(bus_, address.c_str()));
        require(sd_bus_set_bus_client(bus_, 1));
        require(sd_bus_start(bus_));
    }

    void process() {
        const auto alive = shared_from_this();
        int result = 1;
        while (result > 0)
            result = sd_bus_process(bus_, nullptr);
        if (result == 0) return;
        LoggingService::lifecycle.error("Sleep and wake are not announced any more: {}",
                                        std::strerror(-result));
        end();
    }

    static int prepareForSleep(sd_bus_message* message, void* self, sd_bus_error*) {
        int isFallingAsleep = 0;
        if (sd_bus_message_read(message, "b", &isFallingAsleep) < 0) return 0;
        const SleepObserver observer = static_cast<Bus*>(self)->observer_;
        if (isFallingAsleep) {
            if (observer.willSleep) observer.willSleep();
        } else if (observer.didWake) {
            observer.didWake();
        }
        return 0;
    }

    FileDescriptorWatcher& watcher_;
    SleepObserver observer_;
    sd_bus* bus_ = nullptr;
    int descriptor_ = -1; // the bus's, while it is watched: the bus itself forgets it when it breaks
};

LogindSleepMonitor::LogindSleepMonitor(FileDescriptorWatcher& watcher, std::string busAddress)
    : watcher_(watcher), busAddress_(std::move(busAddress)) {}

LogindSleepMonitor::~LogindSleepMonitor() { observe({}); }

void LogindSleepMonitor::observe(SleepObserver observer) {
    if (const auto old = std::exchange(bus_, nullptr)) old->end();
    if (!observer.willSleep && !observer.didWake) return;
    try {
        bus_ = std::make_shared<Bus>(watcher_, busAddress_, std::move(observer));
    } catch (const std::system_error& error) {
        const std::string reason = error.code().message();
        if (isAbsence(error.code())) {
            LoggingService::lifecycle.info("Sleep and wake are not announced here: {}", reason);
        } else {
            LoggingService::lifecycle.error("Sleep and wake are not announced: {}", reason);
        }
    }
}

} // namespace velto
