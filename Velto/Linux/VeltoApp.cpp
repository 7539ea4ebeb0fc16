// The entry point on Linux: runs the program, or asks the one that runs.
#include "Platform/Linux/InstanceLocks.h"
#include "Platform/Linux/JournalLogSink.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Platform/POSIX/DetachedProgram.h"
#include "Platform/POSIX/SingleInstance.h"
#include "Platform/POSIX/StandardStreams.h"
#include "Velto/Commands/CommandEntry.h"
#include "Velto/Linux/Program.h"
#include "Velto/Linux/ProgramModule.h"
#include "Velto/Shell/ProgramMain.h"
#include "VeltoCore/Services/LoggingService.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace velto {

namespace {

CommandClient makeClient() {
    return {[] { return SingleInstance::socketsOfFirst(InstanceLocks::standard()); },
            [] {
                const bool hasWindows = Program::hasDisplay(Program::displayEnvironment());
                startDetached(std::filesystem::read_symlink("/proc/self/exe"),
                              {hasWindows ? "--hidden" : "--background"});
            }};
}

/// Another one runs already: it shows itself, as far as this one was to.
int raiseFirst(bool isToShow) {
    try {
        CommandClient client = makeClient();
        if (!isToShow || client.raise({})) return 0;
        const auto environment = Program::displayEnvironment();
        if (Program::hasDisplay(environment)) {
            if (const auto obstacle = Program::desktopObstacle()) throw CommandFailure(*obstacle);
            // Where that doesn't work, this process ends instead of the one that plays.
            reinterpret_cast<decltype(&veltoTryDesktop)>(programSymbol("velto-desktop", "veltoTryDesktop"))();
            if (client.raise(environment)) return 0;
        }
        std::fputs("velto: Velto is running already, without windows.\n", stderr);
        return 0;
    } catch (const CommandFailure& failure) {
        std::fprintf(stderr, "velto: %s\n", failure.what());
        return 1;
    }
}

int runProgram(const CommandLine& line, int& argumentCount, char** arguments) {
    LinuxMainActor actor;
    TerminationSignals terminationSignals; // before any thread
    SingleInstance instance(InstanceLocks::standard());
    if (!instance.isFirst()) return raiseFirst(!line.isBackground && !line.isHidden);
    const bool hasDisplay = Program::hasDisplay(Program::displayEnvironment());
    if (!hasDisplay && !line.isBackground)
        std::fputs("velto: There is no display; Velto runs without windows.\n", stderr);
    JournalLogSink log(LogLevel::info);
    LoggingService::install(&log);
    Program program({.hasWindows = hasDisplay && !line.isBackground,
                     .isHidden = line.isHidden,
                     .argumentCount = argumentCount,
                     .arguments = arguments},
                    actor, terminationSignals, instance);
    return program.run();
}

int run(int& argumentCount, char** arguments) {
    std::vector<std::string> words(arguments + 1, arguments + argumentCount);
    // By it a desktop's session starts again what ran when it was left; it is Qt's to read, and nobody's wish
    // to see the panel.
    if (words.size() >= 2 && words.front() == "-session") {
        words.erase(words.begin(), words.begin() + 2);
        words.insert(words.begin(), "--hidden");
    }
    const auto program = [&](const CommandLine& line) { return runProgram(line, argumentCount, arguments); };
    return runWords(std::move(words), {program, makeClient});
}

} // namespace

} // namespace velto

int main(int argumentCount, char** arguments) {
    velto::openStandardStreams();
    return velto::programMain("velto", [&] { return velto::run(argumentCount, arguments); });
}
