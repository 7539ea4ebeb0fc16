#include "Platform/Linux/LinuxApplicationHost.h"

#include <fmt/format.h>

#include <sys/utsname.h>

#include <cstdlib>
#include <fstream>
#include <utility>

namespace velto {

namespace {

/// As os-release(5) has it, such as "Debian GNU/Linux 12 (bookworm)".
std::string prettySystemName() {
    constexpr std::string_view key = "PRETTY_NAME=";
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            if (!line.starts_with(key)) continue;
            std::string name = line.substr(key.size());
            std::erase(name, '"');
            return name;
        }
    }
    return "Linux";
}

std::string environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value ? value : "unknown";
}

} // namespace

void LinuxApplicationHost::replyToTermination() {
    if (handlers_.terminate) handlers_.terminate();
}

void LinuxApplicationHost::registerSleepObserver(SleepObserver observer) {
    sleep_.observe(std::move(observer));
}

void LinuxApplicationHost::removeSleepObserver() { sleep_.observe({}); }

void LinuxApplicationHost::setPasteboardText(std::string_view text) {
    if (handlers_.copy) handlers_.copy(text);
}

std::optional<std::string> LinuxApplicationHost::bundleValue(std::string_view key) const {
    if (key == "CFBundleShortVersionString") return VELTO_VERSION;
    if (key == "CFBundleVersion") return VELTO_BUILD_NUMBER;
    return std::nullopt;
}

std::string LinuxApplicationHost::operatingSystemVersion() const {
    utsname system{};
    uname(&system);
    return fmt::format("{} (kernel {})", prettySystemName(), system.release);
}

std::vector<ApplicationHost::SystemDetail> LinuxApplicationHost::systemDetails() const {
    std::vector<SystemDetail> details;
    if (soundSystem_) details = soundSystem_();
    details.push_back({"Qt", toolkitVersion_});
    details.push_back({"Session Type", environment("XDG_SESSION_TYPE")});
    details.push_back({"Desktop", environment("XDG_CURRENT_DESKTOP")});
    return details;
}

} // namespace velto
