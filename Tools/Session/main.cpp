#include "Platform/Linux/FileLock.h"
#include "Platform/Linux/FileUserDefaults.h"
#include "Platform/Linux/JournalLogSink.h"
#include "Platform/Linux/PrivateFolder.h"
#include "Tools/Session/SessionProgram.h"
#include "VeltoCore/Services/LoggingService.h"

#include <cstdio>
#include <exception>
#include <stdexcept>

int main() {
    velto::JournalLogSink log(velto::LogLevel::info, velto::JournalLogSink::Destination::standardError);
    velto::LoggingService::install(&log);
    try {
        const auto settings = velto::FileUserDefaults::standardFile();
        velto::PrivateFolder::make(settings.parent_path());
        const velto::FileLock lock(velto::FileUserDefaults::lockFile(settings));
        if (lock.isHeldByAnother()) throw std::runtime_error("Another program uses the same settings");
        velto::SessionProgram().run();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-session: %s\n", error.what());
        return 1;
    }
}
