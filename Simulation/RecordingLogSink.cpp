#include "Simulation/RecordingLogSink.h"

#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <iterator>

namespace velto {

RecordingLogSink::RecordingLogSink() : previous_(LoggingService::install(this)) {}

RecordingLogSink::~RecordingLogSink() { LoggingService::install(previous_); }

void RecordingLogSink::write(const LogMessage& message) {
    std::string line(message.category);
    line += ' ';
    line += name(message.level);
    line += ": ";
    line += message.text();
    const std::lock_guard lock(mutex_);
    lines_.push_back(std::move(line));
}

std::vector<std::string> RecordingLogSink::lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
}

bool RecordingLogSink::contains(std::string_view line) const {
    const std::lock_guard lock(mutex_);
    return std::ranges::find(lines_, line) != lines_.end();
}

std::vector<std::string> RecordingLogSink::linesWith(std::string_view text) const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> result;
    std::ranges::copy_if(lines_, std::back_inserter(result),
                         [text](const std::string& line) { return line.find(text) != std::string::npos; });
    return result;
}

void RecordingLogSink::clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
}

} // namespace velto
