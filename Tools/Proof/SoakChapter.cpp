// The shipped program for a long while, something happening every few seconds. What it holds is looked at
// whenever all is quiet, first after a while of warming up.
#include "Tools/Proof/Proof.h"

#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/OwnedFolder.h"
#include "Tools/SoundLab/ProcessFigures.h"
#include "Tools/SoundLab/SoundBench.h"
#include "Tools/SoundLab/VoiceRecording.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

namespace velto {

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int eventsBetweenLooks = 10;

/// What is held while no session runs.
struct Holdings {
    /// Its own: a share of what is in common with others changes with them.
    double megabytes = 0;
    std::int64_t descriptors = 0;
    std::int64_t threads = 0;
    /// Nodes, ports and links of the server.
    std::int64_t serverObjects = 0;
    double serverMegabytes = 0;
};

std::int64_t entriesOf(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

Holdings holdingsOf(SoundBench& bench) {
    const fs::path process = "/proc/" + std::to_string(bench.veltoID());
    Holdings result{.megabytes = memoryOf(bench.veltoID()).privateDirty,
                    .descriptors = entriesOf(process / "fd"),
                    .threads = entriesOf(process / "task"),
                    .serverMegabytes = memoryOf(bench.server().daemonID()).privateDirty};
    const SoundLab::Lock lock(bench.lab());
    const PipeWireGraph& graph = bench.lab().graph();
    for (const PipeWireNode* device : graph.devices())
        result.serverObjects += 1 + static_cast<std::int64_t>(graph.ports(device->globalID()).size());
    result.serverObjects += static_cast<std::int64_t>(graph.links().size());
    return result;
}

/// Frames that one output is behind the other, of a second of noise; none where it can't be found.
std::optional<int> skewOf(SoundBench& bench) {
    bench.start();
    OutputRecorder recorder(bench.lab(), {SoundBench::desk, SoundBench::usb},
                            OutputRecorder::GraphClock::dummyDriver, 5);
    recorder.waitUntil(2);
    recorder.stop();
    bench.stop();
    const auto first = recorder.samples(SoundBench::desk), second = recorder.samples(SoundBench::usb);
    constexpr std::size_t begin = OutputRecorder::sampleRate * 2, length = 9600, most = 9600;
    for (std::size_t lag = 0; lag < most; lag += 2)
        for (const bool isSecondLate : {true, false}) {
            const auto& early = isSecondLate ? first : second;
            const auto& late = isSecondLate ? second : first;
            if (std::equal(early.begin() + begin, early.begin() + begin + length,
                           late.begin() + static_cast<std::ptrdiff_t>(begin + lag)))
                return static_cast<int>(lag / 2);
        }
    return std::nullopt;
}

void play(SoundBench& bench) { bench.command({"play", SoundBench::desk, SoundBench::usb}); }

struct Event {
    const char* name;
    std::function<void(SoundBench&)> happen;
};

/// All that happens, each leaving the outputs as they were.
const std::vector<Event>& events() {
    static const std::vector<Event> all{
        {"play", play},
        {"stop", [](SoundBench& bench) { bench.command({"stop"}); }},
        {"unplug and plug",
         [](SoundBench& bench) {
             bench.unplugDesk();
             std::this_thread::sleep_for(100ms);
             bench.plugDesk();
         }},
        {"play and delay",
         [](SoundBench& bench) {
             play(bench);
             bench.command({"delay", "80", SoundBench::usb});
         }},
        {"volume",
         [](SoundBench& bench) {
             bench.command({"volume", "40%"});
         }},
        {"mute",
         [](SoundBench& bench) {
             bench.command({"mute", "toggle"});
         }},
        {"outputs", [](SoundBench& bench) { bench.command({"outputs"}); }},
        // An output of the session that has just come back is not taken for somebody's choice.
        {"pick usb", [](SoundBench& bench) { bench.lab().askForDefault(SoundBench::usb); }},
        {"pick desk", [](SoundBench& bench) { bench.lab().askForDefault(SoundBench::desk); }},
        {"session manager dies",
         [](SoundBench& bench) {
             bench.server().killSessionManager();
             bench.server().startSessionManager();
         }},
    };
    return all;
}

/// One event after the other, then quiet.
Holdings afterEvents(SoundBench& bench, std::mt19937_64& random, std::chrono::milliseconds pause) {
    std::string happened;
    try {
        for (int i = 0; i < eventsBetweenLooks; ++i) {
            const Event& event = events().at(random() % events().size());
            happened += std::string(event.name) + ", ";
            event.happen(bench);
            std::this_thread::sleep_for(pause);
        }
        happened += "and then";
        bench.stop();
        bench.lab().pickDefault(SoundBench::desk);
    } catch (const std::exception& error) {
        throw std::runtime_error(happened + ": " + error.what());
    }
    std::this_thread::sleep_for(1s);
    return holdingsOf(bench);
}

/// What is held for good is held at every look: the least of the first half beside the least of the second.
template <class Number>
void addFlat(Proof& proof, const std::string& what, const std::vector<Holdings>& looks,
             Number Holdings::*held, Number tolerance, const char* goal) {
    const auto middle = looks.begin() + static_cast<std::ptrdiff_t>(looks.size()) / 2;
    const Number first = (*std::ranges::min_element(looks.begin(), middle, {}, held)).*held;
    const Number last = (*std::ranges::min_element(middle, looks.end(), {}, held)).*held;
    char text[96];
    std::snprintf(text, sizeof text, "%.1f in the first half, %.1f in the second", static_cast<double>(first),
                  static_cast<double>(last));
    proof.report.add({what, text, goal, last <= first + tolerance});
}

} // namespace

void soak(Proof& proof) {
    const OwnedFolder folder("velto-proof");
    writeNoiseRecording(folder.path() / "noise.wav", 120);
    SoundBench bench(folder.path() / "noise.wav");
    std::mt19937_64 random(proof.seed);
    const auto end = Clock::now() + proof.howLong.soak;
    const auto skewBefore = skewOf(bench);
    afterEvents(bench, random, proof.howLong.soakPause); // all of its code has run once
    std::vector<Holdings> looks;
    while (looks.size() < 2 || Clock::now() < end)
        looks.push_back(afterEvents(bench, random, proof.howLong.soakPause));
    const auto skewAfter = skewOf(bench);
    proof.report.add({"events", std::to_string((looks.size() + 1) * eventsBetweenLooks)});
    addFlat(proof, "the program's own memory, MB", looks, &Holdings::megabytes, 0.5, "<= 0.5 more");
    addFlat(proof, "its descriptors", looks, &Holdings::descriptors, std::int64_t{0}, "no more");
    addFlat(proof, "its threads", looks, &Holdings::threads, std::int64_t{0}, "no more");
    addFlat(proof, "devices, ports and links on the server", looks, &Holdings::serverObjects, std::int64_t{0},
            "no more");
    addFlat(proof, "the server's own memory, MB", looks, &Holdings::serverMegabytes, 2.0, "<= 2 more");
    const auto text = [](std::optional<int> skew) { return skew ? std::to_string(*skew) : "not found"; };
    proof.report.add({"skew in frames, before and after", text(skewBefore) + ", " + text(skewAfter), "0, 0",
                      skewBefore == 0 && skewAfter == 0});
}

} // namespace velto
