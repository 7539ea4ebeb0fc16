#include "Benchmarks/CombineStream.h"

#include <signal.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velto {

namespace {

constexpr const char* node = "velto.lab.combined";

std::string rule(const char* output) {
    return std::string("{ matches = [ { node.name = \"") + output +
           "\" } ] actions = { create-stream = { } } }\n";
}

/// As its manual has it.
std::vector<std::string> command(const std::filesystem::path& folder) {
    const std::filesystem::path file = folder / "combine.conf";
    std::ofstream(file) << R"(
context.properties = { log.level = 0 }
context.spa-libs = { audio.convert.* = audioconvert/libspa-audioconvert support.* = support/libspa-support }
context.modules = [
  { name = libpipewire-module-rt flags = [ ifexists nofail ] }
  { name = libpipewire-module-protocol-native }
  { name = libpipewire-module-client-node }
  { name = libpipewire-module-adapter }
  { name = libpipewire-module-combine-stream args = {
      combine.mode = sink
      node.name = ")" << node
                        << R"("
      node.description = "Combined"
      combine.latency-compensate = false
      combine.props = { audio.position = [ FL FR ] }
      stream.rules = [ )"
                        << rule(SoundBench::desk) << rule(SoundBench::usb) << R"( ] } }
]
)";
    return {"pipewire", "-c", file};
}

} // namespace

CombineStream::CombineStream(SoundBench& bench, std::string before)
    : bench_(bench), before_(std::move(before)),
      program_(command(bench.server().folder()),
               {bench.server().environment(), bench.server().folder() / "combine.log", false}) {
    try {
        play();
    } catch (const std::runtime_error&) {
        restore();
        throw;
    }
}

CombineStream::~CombineStream() {
    restore();
    program_.signal(SIGTERM);
    program_.wait(std::chrono::seconds(5));
}

void CombineStream::play() {
    SoundLab& lab = bench_.lab();
    const auto plays = [&] {
        const PipeWireGraph& graph = lab.graph();
        int linked = 0;
        for (const char* output : {SoundBench::desk, SoundBench::usb}) {
            const PipeWireNode* const device = graph.device(output);
            for (const auto& entry : graph.links())
                linked += device && entry.second.inputNode == device->globalID();
        }
        return linked >= 4;
    };
    if (!lab.waitUntil([&] { return lab.graph().device(node) != nullptr; }))
        throw std::runtime_error("The server's module that combines streams did not come up");
    bench_.commandDefault(node);
    if (!lab.waitUntil(plays)) throw std::runtime_error("The server's module plays on no outputs");
}

/// What is measured next shows it where this fails.
void CombineStream::restore() noexcept {
    try {
        bench_.commandDefault(before_);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
}

} // namespace velto
