// PipeWireAudioClient: what runs beside the program.
#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"

#include <fmt/format.h>

#include <fstream>

namespace velto {

namespace {

/// The version in the name of the library that a process has loaded, such as
/// "/usr/lib/libwireplumber-0.4.so.0.4.13": the session manager tells its version to nobody. Empty where that
/// can't be seen.
std::string loadedVersion(pid_t process, std::string_view library) {
    constexpr std::string_view beforeVersion = ".so.";
    std::ifstream maps(fmt::format("/proc/{}/maps", process));
    for (std::string line; std::getline(maps, line);) {
        const auto file = line.find(library);
        const auto version = file == std::string::npos ? file : line.find(beforeVersion, file);
        if (version != std::string::npos) return line.substr(version + beforeVersion.size());
    }
    return {};
}

std::string orUnknown(std::string version) {
    return version.empty() ? "version unknown" : std::move(version);
}

} // namespace

std::vector<ApplicationHost::SystemDetail> PipeWireAudioClient::versions() const {
    const std::string library = pw_get_library_version();
    std::string server = "not running";
    if (isConnected()) server = orUnknown(graph_.serverVersion());
    if (server != library) server += fmt::format(" (Velto's library: {})", library);
    const auto process = graph_.sessionManagerProcess();
    return {
        {"PipeWire", server},
        {"WirePlumber", process ? orUnknown(loadedVersion(*process, "/libwireplumber-")) : "not running"}};
}

} // namespace velto
