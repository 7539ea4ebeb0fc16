// LoggingService: the loggers that every component writes to, one a category.
//
// A program installs its platform's sink once, at its start; until then nothing is written.
#pragma once

#include "VeltoCore/Services/LogSink.h"

#include <string_view>
#include <utility>

namespace velto {

/// Writes messages of one category. The format has one "{}" per argument.
class Logger {
  public:
    constexpr explicit Logger(std::string_view category) : category_(category) {}

    template <class... Arguments>
    void debug(std::string_view format, Arguments&&... arguments) const {
        log(LogLevel::debug, format, std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    void info(std::string_view format, Arguments&&... arguments) const {
        log(LogLevel::info, format, std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    void notice(std::string_view format, Arguments&&... arguments) const {
        log(LogLevel::notice, format, std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    void error(std::string_view format, Arguments&&... arguments) const {
        log(LogLevel::error, format, std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    void fault(std::string_view format, Arguments&&... arguments) const {
        log(LogLevel::fault, format, std::forward<Arguments>(arguments)...);
    }
    std::string_view category() const noexcept { return category_; }

  private:
    template <class... Arguments>
    void log(LogLevel level, std::string_view format, Arguments&&... arguments) const {
        if (LogSink* sink = enabledSink(level)) // nothing is rendered that nobody reads
            sink->write({category_, level, format, {LogArgument(std::forward<Arguments>(arguments))...}});
    }
    static LogSink* enabledSink(LogLevel level) noexcept;

    std::string_view category_;
};

struct LoggingService {
    LoggingService() = delete;

    static constexpr std::string_view subsystem = "com.corlent.velto";

    static constexpr Logger audioDevices{"AudioDevices"};
    static constexpr Logger aggregateDevice{"AggregateDevice"};
    static constexpr Logger systemOutput{"SystemOutput"};
    static constexpr Logger ui{"UI"};
    static constexpr Logger lifecycle{"Lifecycle"};
    static constexpr Logger routing{"Routing"};
    static constexpr Logger sync{"Sync"};
    static constexpr Logger persistence{"Persistence"};
    static constexpr Logger recovery{"Recovery"};

    /// Sends all messages to the sink, which must outlive its use, and answers the one before; null for none.
    static LogSink* install(LogSink* sink) noexcept;
};

} // namespace velto
