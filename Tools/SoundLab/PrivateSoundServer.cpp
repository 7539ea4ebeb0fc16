#include "Tools/SoundLab/PrivateSoundServer.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace velto {

namespace fs = std::filesystem;

namespace {

void write(const fs::path& file, std::string_view text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

bool accepts(const std::string& socketPath) {
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
    const bool isAccepted = connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(descriptor);
    return isAccepted;
}

} // namespace

// The prefix is short, because the path of a socket can't be longer than 107 characters.
PrivateSoundServer::PrivateSoundServer() : owned_("velto-lab"), folder_(owned_.path()) {
    writeConfiguration();
    start();
}

PrivateSoundServer::~PrivateSoundServer() = default;

void PrivateSoundServer::writeConfiguration() const {
    for (const char* name : {"run", "config", "state", "home", "data"})
        fs::create_directory(folder_ / name);
    fs::permissions(folder_ / "run", fs::perms::owner_all);
    write(folder_ / "config/wireplumber/main.lua.d/51-private.lua",
          "alsa_monitor.enabled = false\n"
          "v4l2_monitor.enabled = false\n"
          "libcamera_monitor.enabled = false\n"
          "default_access.properties[\"enable-flatpak-portal\"] = false\n");
    write(folder_ / "config/wireplumber/bluetooth.lua.d/51-private.lua", "bluez_monitor.enabled = false\n");
}

std::map<std::string, std::string> PrivateSoundServer::environment() const {
    return {
        {"XDG_RUNTIME_DIR", folder_ / "run"},
        {"XDG_CONFIG_HOME", folder_ / "config"},
        {"XDG_STATE_HOME", folder_ / "state"},
        {"XDG_DATA_HOME", folder_ / "data"},
        {"HOME", folder_ / "home"},
        {"PIPEWIRE_RUNTIME_DIR", ""},
        {"PIPEWIRE_REMOTE", ""},
        {"PULSE_SERVER", ""},
        {"DBUS_SESSION_BUS_ADDRESS", ""},
        {"DISPLAY", ""},
        {"WAYLAND_DISPLAY", ""},
        {"QT_QPA_PLATFORM", ""},
    };
}

void PrivateSoundServer::start() {
    const int watch = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(watch, (folder_ / "run").c_str(), IN_CREATE);
    daemon_.emplace(std::vector<std::string>{"pipewire"},
                    ChildProcess::Options{environment(), folder_ / "pipewire.log", false});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!accepts(socket())) {
        if (!daemon_->isRunning() || std::chrono::steady_clock::now() > deadline) {
            close(watch);
            throw std::runtime_error("A private PipeWire could not be started; the last it said: " +
                                     lastLineOf(folder_ / "pipewire.log"));
        }
        pollfd changed{watch, POLLIN, 0};
        if (poll(&changed, 1, 10) > 0) {
            char events[4096];
            [[maybe_unused]] const ssize_t size = read(watch, events, sizeof events);
        }
    }
    close(watch);
    startSessionManager();
}

void PrivateSoundServer::startSessionManager() {
    sessionManager_.emplace(std::vector<std::string>{"wireplumber"},
                            ChildProcess::Options{environment(), folder_ / "wireplumber.log", false});
}

void PrivateSoundServer::killSessionManager() {
    if (sessionManager_) sessionManager_->kill();
    sessionManager_.reset();
}

void PrivateSoundServer::kill() {
    killSessionManager();
    killDaemon();
}

void PrivateSoundServer::killDaemon() {
    if (daemon_) daemon_->kill();
    daemon_.reset();
}

} // namespace velto
