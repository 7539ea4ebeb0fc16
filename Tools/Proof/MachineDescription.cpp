#include "Tools/Proof/MachineDescription.h"

#include "Tools/SoundLab/ChildProcess.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <fstream>
#include <vector>

namespace velto {

namespace {

/// What follows the first line's colon or equals sign that begins so; empty without one.
std::string valueIn(const char* file, const std::string& key) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        if (!line.starts_with(key)) continue;
        const auto begin = line.find_first_not_of(" \t\"", line.find_first_of(":=") + 1);
        return begin == std::string::npos ? "" : line.substr(begin, line.find_last_not_of('"') + 1 - begin);
    }
    return "";
}

std::string firstLine(std::vector<std::string> command) {
    try {
        ChildProcess program(std::move(command), {{}, "", true});
        return program.readLine(std::chrono::seconds(10)).value_or("");
    } catch (const std::exception&) {
        return ""; // it isn't installed
    }
}

std::string versionOf(const char* package) {
    return firstLine({"dpkg-query", "--show", "--showformat=${Version}\\n", package});
}

std::string now() {
    const std::time_t time = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", &parts);
    return text;
}

} // namespace

std::map<std::string, std::string> machineDescription() {
    utsname system{};
    uname(&system);
    std::map<std::string, std::string> result{
        {"kernel", std::string(system.sysname) + " " + system.release + " " + system.machine},
        {"memory", valueIn("/proc/meminfo", "MemTotal")},
        {"processor",
         std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) + " x " + valueIn("/proc/cpuinfo", "model name")},
        {"system", valueIn("/etc/os-release", "PRETTY_NAME")},
    };
    for (const char* package : {"pipewire", "wireplumber", "pulseaudio", "pasystray", "pavucontrol"})
        result["version of " + std::string(package)] = versionOf(package);
    std::erase_if(result, [](const auto& entry) { return entry.second.empty(); });
    return result;
}

std::string circumstances() {
    std::string load;
    std::ifstream("/proc/loadavg") >> load; // of the last minute
    return now() + ", commit " + firstLine({"git", "describe", "--always", "--dirty"}) + ", load " + load;
}

} // namespace velto
