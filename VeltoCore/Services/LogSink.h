// LogSink: where log messages go on a platform (the journal, the unified log, a test's memory).
#pragma once

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

/// debug: confirmations per device · info: progress · notice: notable, the platform's default level · error ·
/// fault: what only a mistake in the program explains.
enum class LogLevel { debug, info, notice, error, fault };

/// The level's own name, such as "notice".
std::string_view name(LogLevel level) noexcept;

/// One argument of a message, already rendered as text and free of control characters.
///
/// Numbers and Booleans are public. Text is private unless marked with `publicText`: a platform whose log
/// keeps private arguments apart hides it from others. A `double` has six decimals, a Boolean is true or
/// false.
class LogArgument {
  public:
    LogArgument(bool value) : text_(value ? "true" : "false"), isPublic_(true) {}
    LogArgument(double value);
    template <std::integral Integer>
    LogArgument(Integer value) : text_(std::to_string(value)), isPublic_(true) {}
    LogArgument(std::string_view text) : LogArgument(text, false) {}
    LogArgument(const std::string& text) : LogArgument(std::string_view(text)) {}
    LogArgument(const char* text) : LogArgument(std::string_view(text)) {}

    const std::string& text() const noexcept { return text_; }
    bool isPublic() const noexcept { return isPublic_; }

  private:
    friend LogArgument publicText(std::string_view text);
    LogArgument(std::string_view text, bool isPublic);

    std::string text_;
    bool isPublic_ = false;
};

/// Text that may be shown to anybody who can read the log, such as a device's name.
LogArgument publicText(std::string_view text);

/// Foreign text made fit for a line of the log, or of a terminal: control and direction-changing characters
/// and broken UTF-8 become U+FFFD.
std::string cleanedForLog(std::string_view text);

struct LogMessage {
    std::string_view category;
    LogLevel level;
    /// The message with "{}" where an argument goes.
    std::string_view format;
    std::vector<LogArgument> arguments;

    /// The whole line, private arguments included.
    std::string text() const;
    /// The line in runs that are public and private by turns, the first of them public and perhaps empty. At
    /// most so many, an even number: the last then holds all the rest, as private.
    std::vector<std::string> runs(std::size_t most) const;
};

/// Main actor, or the thread of a blocking call: implementations must bear both.
class LogSink {
  public:
    virtual ~LogSink() = default;
    virtual bool isEnabled(LogLevel level) const noexcept = 0;
    virtual void write(const LogMessage& message) = 0;
};

} // namespace velto
