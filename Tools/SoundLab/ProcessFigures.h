// ProcessFigures: what the kernel says of a running program's memory and wake-ups.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velto {

struct ProcessMemory {
    /// Its own memory and its share of what it has in common with others, in megabytes.
    double proportional = 0;
    /// Written by it, and its alone, in megabytes.
    double privateDirty = 0;
};

struct MemoryOfFile {
    std::string name;
    ProcessMemory memory;
};

/// All but programsWith throw std::runtime_error when the program isn't there.
ProcessMemory memoryOf(pid_t process);
/// By the file that is mapped, the most first.
std::vector<MemoryOfFile> memoryByFile(pid_t process);
/// Other programs that have a library of that name loaded: what they share is counted to each in part.
int programsWith(const std::string& library);
/// CPU time of all its threads that run now, in seconds, finer than the kernel's clock ticks.
double cpuSecondsOf(pid_t process);
/// Milliseconds of CPU for each second of audio, of whatever adds up its seconds; takes three seconds.
double cpuPerSecondOfAudio(const std::function<double()>& cpuSeconds);
/// The program of that name that it has started, and still runs; none while there is none.
std::optional<pid_t> childOf(pid_t process, const std::string& name);
/// How often its threads waited and went on, since each began.
std::int64_t wakeUpsOf(pid_t process);

} // namespace velto
