#import "Platform/macOS/UnifiedLogSink.h"

#include "VeltoCore/Services/LoggingService.h"

#include <os/log.h>

#include <vector>

namespace velto {

namespace {

os_log_type_t typeOf(LogLevel level) {
    switch (level) {
    case LogLevel::debug:
        return OS_LOG_TYPE_DEBUG;
    case LogLevel::info:
        return OS_LOG_TYPE_INFO;
    case LogLevel::notice:
        return OS_LOG_TYPE_DEFAULT;
    case LogLevel::error:
        return OS_LOG_TYPE_ERROR;
    case LogLevel::fault:
        return OS_LOG_TYPE_FAULT;
    }
    return OS_LOG_TYPE_DEFAULT;
}

constexpr std::size_t mostRuns = 6;

/// The unified log takes constant formats only: one for each number of runs that there can be.
void write(os_log_t log, os_log_type_t type, const std::vector<std::string>& runs) {
    const auto text = [&](std::size_t i) { return runs[i].c_str(); };
    switch (runs.size()) {
    case 1:
        os_log_with_type(log, type, "%{public}s", text(0));
        break;
    case 2:
        os_log_with_type(log, type, "%{public}s%{private}s", text(0), text(1));
        break;
    case 3:
        os_log_with_type(log, type, "%{public}s%{private}s%{public}s", text(0), text(1), text(2));
        break;
    case 4:
        os_log_with_type(log, type, "%{public}s%{private}s%{public}s%{private}s", text(0), text(1), text(2),
                         text(3));
        break;
    case 5:
        os_log_with_type(log, type, "%{public}s%{private}s%{public}s%{private}s%{public}s", text(0), text(1),
                         text(2), text(3), text(4));
        break;
    case 6:
        os_log_with_type(log, type, "%{public}s%{private}s%{public}s%{private}s%{public}s%{private}s",
                         text(0), text(1), text(2), text(3), text(4), text(5));
        break;
    }
}

} // namespace

UnifiedLogSink::UnifiedLogSink() : typical_(logOf(LoggingService::lifecycle.category())) {}

UnifiedLogSink::~UnifiedLogSink() = default;

bool UnifiedLogSink::isEnabled(LogLevel level) const noexcept {
    return os_log_type_enabled((__bridge os_log_t)typical_, typeOf(level));
}

void UnifiedLogSink::write(const LogMessage& message) {
    velto::write((__bridge os_log_t)logOf(message.category), typeOf(message.level), message.runs(mostRuns));
}

void* UnifiedLogSink::logOf(std::string_view category) {
    const std::scoped_lock lock(mutex_);
    if (const auto found = logs_.find(category); found != logs_.end()) return found->second;
    const std::string subsystem(LoggingService::subsystem);
    const std::string name(category);
    return logs_[name] = (__bridge_retained void*)os_log_create(subsystem.c_str(), name.c_str());
}

} // namespace velto
