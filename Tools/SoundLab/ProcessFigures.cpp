#include "Tools/SoundLab/ProcessFigures.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace velto {

namespace fs = std::filesystem;

namespace {

constexpr double kilobytesInMegabyte = 1024;

fs::path folderOf(pid_t process) { return "/proc/" + std::to_string(process); }

std::ifstream openFile(const fs::path& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error("A program that was to be measured has ended");
    return file;
}

/// Adds what a line such as "Pss:   12 kB" tells.
void add(const std::string& line, ProcessMemory& memory) {
    std::istringstream fields(line);
    std::string name;
    double kilobytes = 0;
    fields >> name >> kilobytes;
    if (name == "Pss:") memory.proportional += kilobytes / kilobytesInMegabyte;
    if (name == "Private_Dirty:") memory.privateDirty += kilobytes / kilobytesInMegabyte;
}

/// The name in the first line of a mapping; none for other lines.
std::string mappedFile(const std::string& line) {
    std::istringstream fields(line);
    std::string range, permissions, offset, device, inode, name;
    fields >> range >> permissions >> offset >> device >> inode >> name;
    return name.empty() ? "(anonymous)" : fs::path(name).filename().string();
}

} // namespace

ProcessMemory memoryOf(pid_t process) {
    std::ifstream file = openFile(folderOf(process) / "smaps_rollup");
    ProcessMemory memory;
    for (std::string line; std::getline(file, line);)
        add(line, memory);
    return memory;
}

std::vector<MemoryOfFile> memoryByFile(pid_t process) {
    std::ifstream file = openFile(folderOf(process) / "smaps");
    std::map<std::string, ProcessMemory> memories;
    std::string name;
    for (std::string line; std::getline(file, line);) {
        const bool isField = !line.empty() && std::isupper(static_cast<unsigned char>(line.front()));
        if (isField) {
            add(line, memories[name]);
        } else {
            name = mappedFile(line);
        }
    }
    std::vector<MemoryOfFile> result;
    for (const auto& [key, memory] : memories)
        result.push_back({key, memory});
    std::ranges::sort(result, std::ranges::greater{},
                      [](const MemoryOfFile& entry) { return entry.memory.proportional; });
    return result;
}

int programsWith(const std::string& library) {
    int count = 0;
    for (const auto& entry : fs::directory_iterator("/proc", fs::directory_options::skip_permission_denied)) {
        std::ifstream maps(entry.path() / "maps");
        for (std::string line; std::getline(maps, line);) {
            if (!line.contains("/" + library)) continue;
            ++count;
            break;
        }
    }
    return count;
}

double cpuSecondsOf(pid_t process) {
    double nanoseconds = 0;
    for (const auto& thread : fs::directory_iterator(folderOf(process) / "task")) {
        double ofThread = 0;
        std::ifstream(thread.path() / "schedstat") >> ofThread;
        nanoseconds += ofThread;
    }
    return nanoseconds * 1e-9;
}

std::optional<pid_t> childOf(pid_t process, const std::string& name) {
    for (const auto& entry : fs::directory_iterator("/proc", fs::directory_options::skip_permission_denied)) {
        std::ifstream file(entry.path() / "status");
        std::string named;
        pid_t parent = 0;
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("Name:\t")) named = line.substr(6);
            if (line.starts_with("PPid:\t")) parent = std::stoi(line.substr(6));
            if (line.starts_with("State:\tZ")) named.clear();
        }
        if (parent == process && named == name) return std::stoi(entry.path().filename());
    }
    return std::nullopt;
}

std::int64_t wakeUpsOf(pid_t process) {
    std::int64_t count = 0;
    for (const auto& thread : fs::directory_iterator(folderOf(process) / "task")) {
        std::ifstream file(thread.path() / "status");
        for (std::string name; file >> name;) {
            std::int64_t value = 0;
            if (name == "voluntary_ctxt_switches:" && file >> value) count += value;
        }
    }
    return count;
}

double cpuPerSecondOfAudio(const std::function<double()>& cpuSeconds) {
    using namespace std::chrono_literals;
    std::this_thread::sleep_for(300ms);
    const double before = cpuSeconds();
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(3s);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return (cpuSeconds() - before) / seconds * 1000;
}

} // namespace velto
