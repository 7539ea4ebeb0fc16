#include "Benchmarks/PrivatePulse.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace velto {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

PrivatePulse::PrivatePulse(const PrivateSoundServer& server, std::map<std::string, std::string> environment) {
    const fs::path configuration = server.folder() / "pulse.conf";
    std::ofstream(configuration)
        << "context.spa-libs = { audio.convert.* = audioconvert/libspa-audioconvert\n"
           "                     support.* = support/libspa-support }\n"
           "context.modules = [ { name = libpipewire-module-protocol-native }\n"
           "                    { name = libpipewire-module-client-node }\n"
           "                    { name = libpipewire-module-adapter }\n"
           "                    { name = libpipewire-module-metadata }\n"
           "                    { name = libpipewire-module-protocol-pulse } ]\n"
           "pulse.properties = { server.address = [ \"unix:native\" ] }\n";
    program_.emplace(std::vector<std::string>{"pipewire", "-c", configuration.native()},
                     ChildProcess::Options{std::move(environment), server.folder() / "pulse.log", false});
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!fs::exists(server.folder() / "run/pulse/native")) {
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("A private PulseAudio could not be started");
        std::this_thread::sleep_for(10ms);
    }
}

} // namespace velto
