#include "Platform/Linux/JournalLogSink.h"

#include "VeltoCore/Services/LoggingService.h"

#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <cstdio>

namespace velto {

namespace {

int priority(LogLevel level) {
    switch (level) {
    case LogLevel::debug:
        return LOG_DEBUG;
    case LogLevel::info:
        return LOG_INFO;
    case LogLevel::notice:
        return LOG_NOTICE;
    case LogLevel::error:
        return LOG_ERR;
    case LogLevel::fault:
        return LOG_CRIT;
    }
    return LOG_NOTICE;
}

} // namespace

JournalLogSink::JournalLogSink(LogLevel lowest, Destination destination)
    : lowest_(lowest), destination_(destination) {}

JournalLogSink::Destination JournalLogSink::available() noexcept {
    return access("/run/systemd/journal/socket", W_OK) == 0 ? Destination::journal
                                                            : Destination::standardError;
}

std::vector<std::string> JournalLogSink::journalFields(const LogMessage& message) {
    return {
        "MESSAGE=" + message.text(),
        "PRIORITY=" + std::to_string(priority(message.level)),
        "SYSLOG_IDENTIFIER=velto",
        "VELTO_SUBSYSTEM=" + std::string(LoggingService::subsystem),
        "VELTO_CATEGORY=" + std::string(message.category),
    };
}

void JournalLogSink::write(const LogMessage& message) {
    if (destination_ == Destination::journal) {
        std::vector<std::string> fields = journalFields(message);
        std::vector<iovec> parts;
        parts.reserve(fields.size());
        for (std::string& field : fields)
            parts.push_back({field.data(), field.size()});
        if (sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) == 0) return;
    }
    std::string line = "velto [";
    line += message.category;
    line += "] ";
    line += name(message.level);
    line += ": " + message.text() + "\n";
    std::fputs(line.c_str(), stderr);
}

} // namespace velto
