// RecordingLogSink: keeps every log line in memory, for tests and the simulator.
//
// It is the installed sink for as long as it lives; the one before is put back at its end.
#pragma once

#include "VeltoCore/Services/LogSink.h"

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class RecordingLogSink final : public LogSink {
  public:
    RecordingLogSink();
    RecordingLogSink(const RecordingLogSink&) = delete;
    RecordingLogSink& operator=(const RecordingLogSink&) = delete;
    ~RecordingLogSink() override;

    bool isEnabled(LogLevel level) const noexcept override { return level >= minimumLevel_; }
    void write(const LogMessage& message) override;

    /// From the start all levels are recorded.
    void setMinimumLevel(LogLevel level) noexcept { minimumLevel_ = level; }

    /// In writing order, each as "Category level: text", such as "AudioDevices notice: Device connected:
    /// Desk".
    std::vector<std::string> lines() const;
    /// Whether exactly this line was written.
    bool contains(std::string_view line) const;
    /// Lines that hold the text anywhere in them, such as "SystemOutput error: ".
    std::vector<std::string> linesWith(std::string_view text) const;
    std::size_t count(std::string_view text) const { return linesWith(text).size(); }
    void clear();

  private:
    LogSink* previous_;
    LogLevel minimumLevel_ = LogLevel::debug;
    mutable std::mutex mutex_; // a blocking call may log from its own thread
    std::vector<std::string> lines_;
};

} // namespace velto
