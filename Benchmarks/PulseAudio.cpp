#include "Benchmarks/PulseAudio.h"

#include "Tools/SoundLab/SoundLab.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace velto {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

/// Where ./run unpacks the package.
const fs::path package = fs::path(VELTO_SOURCE_DIR) / "build/peers/pulseaudio";

/// As much at a time as the sound server handles: one of its quanta. What an output mixes at a time follows
/// from what is asked of it.
constexpr const char* latency = "--latency-msec=43";

fs::path folderOf(const std::string& library) {
    if (fs::exists(package))
        for (const auto& entry : fs::recursive_directory_iterator(package))
            if (entry.path().filename().native().starts_with(library)) return entry.path().parent_path();
    throw std::runtime_error("PulseAudio is not unpacked in build/peers: ./run benchmarks does that");
}

} // namespace

std::map<std::string, std::string> PulseAudio::environment() const {
    const std::string modules = folderOf("module-combine-sink");
    return {{"HOME", folder_.path()},
            {"XDG_RUNTIME_DIR", folder_.path()},
            {"XDG_CONFIG_HOME", folder_.path()},
            {"PULSE_RUNTIME_PATH", folder_.path() / "pulse"},
            {"PULSE_STATE_PATH", folder_.path()},
            {"PULSE_SERVER", ""},
            {"DBUS_SESSION_BUS_ADDRESS", ""},
            {"DISPLAY", ""},
            {"LD_LIBRARY_PATH", folderOf("libpulsecore").native() + ":" + modules}};
}

PulseAudio::PulseAudio(const fs::path& playedFile) : folder_("velto-pulseaudio") {
    const fs::path folder = folder_.path();
    fs::create_directory(folder / "pulse");
    fs::permissions(folder / "pulse", fs::perms::owner_all);
    std::ofstream script(folder / "script.pa");
    // A source of its own: were an output's monitor the default one, who records it would be moved along with
    // the default output.
    script << "load-module module-native-protocol-unix\n"
              "load-module module-null-source source_name=microphone\nset-default-source microphone\n";
    for (const std::string& output : {outputs().before, outputs().first, outputs().second})
        script << "load-module module-null-sink sink_name=" << output << " rate=48000\n";
    script << "set-default-sink " << outputs().before << "\n";
    script.close();
    server_.emplace(std::vector<std::string>{package / "usr/bin/pulseaudio", "-n", "-F", folder / "script.pa",
                                             "--daemonize=no", "--exit-idle-time=-1", "-p",
                                             folderOf("module-combine-sink")},
                    ChildProcess::Options{environment(), folder / "server.log", false});
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (ChildProcess({"pactl", "info"}, {environment(), "", false}).wait(5s) != 0) {
        if (!server_->isRunning() || std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("PulseAudio does not start: " + lastLineOf(folder / "server.log"));
        std::this_thread::sleep_for(20ms);
    }
    player_.emplace(std::vector<std::string>{"paplay", latency, playedFile},
                    ChildProcess::Options{environment(), "", false});
}

MonitorEar::MonitorEar(const PulseAudio& server, const std::string& output) : folder_("velto-ear") {
    const fs::path pipe = folder_.path() / "pipe";
    if (mkfifo(pipe.c_str(), 0600) != 0 || (pipe_ = open(pipe.c_str(), O_RDONLY | O_NONBLOCK)) < 0)
        throw std::runtime_error("No pipe could be made for a recorder");
    recorder_.emplace(std::vector<std::string>{"parec", "-d", output + ".monitor", "--raw", "--rate=48000",
                                               "--format=s16le", "--channels=2", latency, pipe},
                      ChildProcess::Options{server.environment(), "", false});
    listener_ = std::jthread([this](const std::stop_token& isOver) { listen(isOver); });
}

MonitorEar::~MonitorEar() {
    listener_ = {}; // before what it reads is closed
    recorder_.reset();
    close(pipe_);
}

void MonitorEar::listen(const std::stop_token& isOver) {
    std::array<char, 16384> samples{};
    while (!isOver.stop_requested()) {
        pollfd ready{pipe_, POLLIN, 0};
        if (poll(&ready, 1, 100) <= 0) continue;
        const ssize_t count = read(pipe_, samples.data(), samples.size());
        const std::int64_t now = monotonicNow();
        if (count <= 0) std::this_thread::sleep_for(5ms); // nobody has it open yet
        if (std::none_of(samples.begin(), samples.begin() + std::max<ssize_t>(count, 0),
                         [](char byte) { return byte != 0; }))
            continue;
        const std::lock_guard lock(mutex_);
        sounds_.push_back(now);
    }
}

std::int64_t MonitorEar::firstSoundFrom(std::int64_t moment, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        {
            const std::lock_guard lock(mutex_);
            const auto sound = std::ranges::lower_bound(sounds_, moment);
            if (sound != sounds_.end()) return *sound;
        }
        std::this_thread::sleep_for(2ms);
    }
    throw std::runtime_error("Nothing was heard of it");
}

} // namespace velto
