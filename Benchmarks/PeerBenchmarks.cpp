// Velto beside stock programs that play on two outputs at once: how soon both sound, how soon the output of
// before sounds again, and what it costs. All are told by their own commands.
//
// Prints one table; the exit status is 0 when every figure is within its limit. A peer that can't is told,
// with what it said.

#include "Benchmarks/CombineSink.h"
#include "Benchmarks/CombineStream.h"
#include "Benchmarks/FigureTable.h"
#include "Benchmarks/PrivatePulse.h"
#include "Benchmarks/PulseAudio.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/OwnedFolder.h"
#include "Tools/SoundLab/ProcessFigures.h"
#include "Tools/SoundLab/SoundBench.h"
#include "Tools/SoundLab/VoiceRecording.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace velto;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr const char* television = "velto.lab.television";
constexpr int rounds = 15;
/// What the server needs for less: that another output becomes the default one.
constexpr const char* floorName = "floor: another default output";
/// Between the commands of a round: a few of the graph's cycles, never in step with them.
constexpr auto pause = 330ms;

FigureTable table;

/// One way to play on two outputs: its commands, and the CPU that it and the server have taken, in seconds.
struct Way {
    std::string name;
    std::function<void()> start, stop;
    std::function<double()> cpuSeconds;
};

/// When commands were given, in seconds of a recording.
struct Moments {
    std::vector<double> starts, stops;
};

struct Result {
    /// In milliseconds; the last for each second of audio.
    std::vector<double> untilBothSound, untilRestored, cpu;
    /// Why there are none.
    std::string failure;
};

void attempt(Result& result, const std::function<void()>& step) {
    if (!result.failure.empty()) return;
    try {
        step();
    } catch (const std::exception& error) {
        result.failure = error.what();
    }
}

/// Milliseconds from a second of the recording until the output is first not silent.
double untilSound(const std::vector<float>& samples, double second) {
    const auto begin = static_cast<std::size_t>(second * OutputRecorder::sampleRate) * 2;
    auto sample = begin;
    while (sample < samples.size() && samples[sample] == 0)
        ++sample;
    if (sample >= samples.size()) throw std::runtime_error("Nothing was heard of it");
    return (static_cast<double>(sample) / 2 / OutputRecorder::sampleRate - second) * 1000;
}

/// The ways of one private server, in turns: sound as a recorder on the graph's own clock hears it.
class ServersWays {
  public:
    explicit ServersWays(const fs::path& noise) : bench_(noise), pulse_(bench_.server(), environment()) {
        bench_.lab().plug(VirtualOutput::hdmi(television, "Television"));
        bench_.lab().pickDefault(television);
        const auto ofServer = [this] { return cpuSecondsOf(bench_.server().daemonID()); };
        ways_.push_back({"Velto", [this] { bench_.start(); }, [this] { bench_.stop(); },
                         [this] { return bench_.cpuSeconds(); }});
        ways_.push_back({floorName, [this] { bench_.commandDefault(SoundBench::usb); },
                         [this] { bench_.commandDefault(television); }, ofServer});
        ways_.push_back({"the server's module that combines streams",
                         [this] { stream_ = std::make_unique<CombineStream>(bench_, television); },
                         [this] { stream_.reset(); },
                         [this, ofServer] { return ofServer() + cpuSecondsOf(stream_->process()); }});
        ways_.push_back({"combine sink of the server's PulseAudio", [this] { sink_.start(); },
                         [this] { sink_.stop(); },
                         [this, ofServer] { return ofServer() + cpuSecondsOf(pulse_.process()); }});
    }

    std::map<std::string, Result> measure() {
        std::map<std::string, Result> results;
        listen(results);
        for (int round = 0; round < 3; ++round)
            for (const Way& way : ways_)
                attempt(results[way.name], [&] {
                    way.start();
                    results[way.name].cpu.push_back(cpuPerSecondOfAudio(way.cpuSeconds));
                    way.stop();
                });
        return results;
    }

  private:
    std::map<std::string, std::string> environment() { return bench_.server().environment(); }

    void listen(std::map<std::string, Result>& results) {
        OutputRecorder recorder(bench_.lab(), {television, SoundBench::usb},
                                OutputRecorder::GraphClock::dummyDriver, 120);
        std::map<std::string, Moments> moments;
        for (int round = 0; round < rounds; ++round)
            for (const Way& way : ways_)
                attempt(results[way.name], [&] {
                    std::this_thread::sleep_for(pause);
                    moments[way.name].starts.push_back(recorder.timelineSeconds(monotonicNow()));
                    way.start();
                    std::this_thread::sleep_for(pause);
                    moments[way.name].stops.push_back(recorder.timelineSeconds(monotonicNow()));
                    way.stop();
                });
        std::this_thread::sleep_for(pause);
        recorder.stop();
        const auto second = recorder.samples(SoundBench::usb), before = recorder.samples(television);
        for (const Way& way : ways_)
            attempt(results[way.name], [&] {
                for (const double start : moments[way.name].starts)
                    results[way.name].untilBothSound.push_back(untilSound(second, start));
                for (const double stop : moments[way.name].stops)
                    results[way.name].untilRestored.push_back(untilSound(before, stop));
            });
    }

    SoundBench bench_;
    PrivatePulse pulse_;
    CombineSink sink_{environment(), {television, SoundBench::desk, SoundBench::usb}};
    std::unique_ptr<CombineStream> stream_;
    std::vector<Way> ways_;
};

/// PulseAudio's: sound as its monitors hand it over, which is when it is mixed.
Result measurePulseAudio(const fs::path& noise) {
    Result result;
    attempt(result, [&] {
        PulseAudio server(noise);
        const auto outputs = PulseAudio::outputs();
        CombineSink sink(server.environment(), outputs);
        const Way way{"", [&] { sink.start(); }, [&] { sink.stop(); },
                      [&] { return cpuSecondsOf(server.process()); }};
        for (int round = 0; round < 3; ++round) {
            way.start();
            result.cpu.push_back(cpuPerSecondOfAudio(way.cpuSeconds));
            way.stop();
        }
        MonitorEar second(server, outputs.second), before(server, outputs.before);
        before.firstSoundFrom(0, 5s);
        for (int round = 0; round < rounds; ++round) {
            std::this_thread::sleep_for(pause);
            const auto start = monotonicNow();
            way.start();
            result.untilBothSound.push_back(static_cast<double>(second.firstSoundFrom(start, 5s) - start) /
                                            1e6);
            std::this_thread::sleep_for(pause);
            const auto stop = monotonicNow();
            way.stop();
            result.untilRestored.push_back(static_cast<double>(before.firstSoundFrom(stop, 5s) - stop) / 1e6);
        }
    });
    return result;
}

std::string spread(const std::vector<double>& times) {
    return text("median %.0f ms, most %.0f ms, of %zu", median(times), std::ranges::max(times), times.size());
}

/// Velto's medians beside the fastest peer's.
void compare(const char* what, const std::map<std::string, Result>& results,
             std::vector<double> Result::*times) {
    const double ours = median(results.at("Velto").*times);
    std::optional<double> fastest;
    for (const auto& [name, result] : results) {
        if (name == "Velto" || !result.failure.empty()) continue;
        if (name != floorName)
            fastest = std::min(fastest.value_or(median(result.*times)), median(result.*times));
        table.addPeer((std::string(what) + ": " + name).c_str(), spread(result.*times));
    }
    table.add((std::string(what) + ": Velto").c_str(), spread(results.at("Velto").*times),
              fastest ? text("<= 1.0 x the fastest: %.0f ms", *fastest) : "no peer could",
              !fastest || ours <= *fastest);
}

int run() {
    const OwnedFolder folder("velto-bench");
    const fs::path noise = folder.path() / "noise.wav";
    writeNoiseRecording(noise, 180);
    std::map<std::string, Result> results = ServersWays(noise).measure();
    results["combine sink of PulseAudio"] = measurePulseAudio(noise);
    if (const std::string& failure = results["Velto"].failure; !failure.empty())
        throw std::runtime_error(failure);
    for (const auto& [name, result] : results)
        if (!result.failure.empty()) table.addPeer(name.c_str(), "could not: " + result.failure);
    compare("command to sound on both", results, &Result::untilBothSound);
    compare("command to sound on the output of before", results, &Result::untilRestored);
    for (const auto& [name, result] : results)
        if (result.failure.empty())
            table.addPeer(("CPU for a second of audio: " + name).c_str(),
                          text("%.1f ms", median(result.cpu)));
    return table.isEveryFigureWithin() ? 0 : 1;
}

} // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        return run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-peer-benchmarks: %s\n", error.what());
        return 1;
    }
}
