#include "Platform/Linux/LogindSleepMonitor.h"

#include "VeltoCore/Services/LoggingService.h"

#include <string>
#include <system_error>
#include <utility>

namespace velto {

namespace {

/// Machines without logind, as containers are, have no such bus: nothing is wrong with them.
bool isAbsence(const std::error_code& code) noexcept { return code == std::errc::no_such_file_or_directory; }

} // namespace

int LogindSleepMonitor::prepareForSleep(sd_bus_message* message, void* self, sd_bus_error*) {
    int isFallingAsleep = 0;
    if (sd_bus_message_read(message, "b", &isFallingAsleep) < 0) return 0;
    const SleepObserver observer = static_cast<LogindSleepMonitor*>(self)->observer_; // it may be replaced
    if (isFallingAsleep) {
        if (observer.willSleep) observer.willSleep();
    } else if (observer.didWake) {
        observer.didWake();
    }
    return 0;
}

LogindSleepMonitor::LogindSleepMonitor(FileDescriptorWatcher& watcher, std::string busAddress)
    : watcher_(watcher), busAddress_(std::move(busAddress)) {}

LogindSleepMonitor::~LogindSleepMonitor() { observe({}); }

void LogindSleepMonitor::observe(SleepObserver observer) {
    if (const auto old = std::exchange(connection_, nullptr)) old->end();
    observer_ = std::move(observer);
    if (!observer_.willSleep && !observer_.didWake) return;
    try {
        const auto connection = BusConnection::open(
            watcher_, BusConnection::Bus::system, busAddress_, [](const std::string& why) {
                LoggingService::lifecycle.error("Sleep and wake are not announced any more: {}", why);
            });
        BusConnection::require(sd_bus_match_signal_async(
            connection->bus(), nullptr, "org.freedesktop.login1", "/org/freedesktop/login1",
            "org.freedesktop.login1.Manager", "PrepareForSleep", &prepareForSleep, nullptr, this));
        connection->flush(); // a sleep that begins at once is not to be missed
        connection_ = connection;
    } catch (const std::system_error& error) {
        if (isAbsence(error.code())) {
            LoggingService::lifecycle.info("Sleep and wake are not announced here: {}", error.what());
        } else {
            LoggingService::lifecycle.error("Sleep and wake are not announced: {}", error.what());
        }
    }
}

} // namespace velto
