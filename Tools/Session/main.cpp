#include "Platform/Linux/JournalLogSink.h"
#include "Tools/Session/SessionProgram.h"
#include "VeltoCore/Services/LoggingService.h"

#include <cstdio>
#include <exception>

int main() {
    velto::JournalLogSink log(velto::LogLevel::info, velto::JournalLogSink::Destination::standardError);
    velto::LoggingService::install(&log);
    try {
        velto::SessionProgram().run();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-session: %s\n", error.what());
        return 1;
    }
}
