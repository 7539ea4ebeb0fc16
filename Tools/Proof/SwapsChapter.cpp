// One output goes as another one comes, while the program looks away or doesn't: what the newcomer plays is
// recorded. And sessions are stopped at random moments, which once crashed session managers.
#include "Tools/Proof/Proof.h"

#include "Tools/Proof/TestProgram.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/OwnedFolder.h"
#include "Tools/SoundLab/SoundBench.h"
#include "Tools/SoundLab/VoiceRecording.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <stdexcept>
#include <thread>

namespace velto {

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr const char* stranger = "velto.lab.stranger";
constexpr int swapsOfARecording = 100;

/// Swaps that often; answers how many samples the stranger played that were not silent.
std::int64_t strangeSamples(const fs::path& noise, int swaps, std::mt19937_64& random) {
    SoundBench bench(noise);
    OutputRecorder recorder(bench.lab(), {stranger, SoundBench::desk},
                            OutputRecorder::GraphClock::dummyDriver, swaps * 2.0 + 10);
    bench.start();
    recorder.waitUntil(0.5);
    for (int swap = 0; swap < swaps; ++swap) {
        const bool looksAway = random() % 2 == 0;
        if (looksAway) bench.signalVelto(SIGSTOP);
        bench.lab().unplug(SoundBench::usb);
        bench.lab().plug(VirtualOutput::usb(stranger, "Stranger"));
        if (looksAway) bench.signalVelto(SIGCONT);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 60'000));
        bench.lab().plug(VirtualOutput::usb(SoundBench::usb, "USB DAC"));
        if (!bench.playsOn(SoundBench::usb))
            throw std::runtime_error("The output that returned is not played on");
        bench.lab().unplug(stranger);
    }
    recorder.stop();
    const auto loud = [](float sample) { return sample != 0; };
    if (std::ranges::none_of(recorder.samples(SoundBench::desk), loud))
        throw std::runtime_error("Nothing was played");
    return std::ranges::count_if(recorder.samples(stranger), loud);
}

} // namespace

void swapAndStop(Proof& proof) {
    const OwnedFolder folder("velto-proof");
    writeNoiseRecording(folder.path() / "noise.wav", 120);
    std::mt19937_64 random(proof.seed);
    const int swaps = proof.times(400, 2000);
    std::int64_t samples = 0;
    for (int done = 0; done < swaps; done += swapsOfARecording)
        samples +=
            strangeSamples(folder.path() / "noise.wav", std::min(swapsOfARecording, swaps - done), random);
    proof.addCount("samples that a stranger played", samples, std::to_string(swaps) + " swaps");

    const auto swapped = runTest("AttackTests.AnOutputThatComesAsAnotherGoesGetsNoSound",
                                 {{"VELTO_ATTACK", proof.isFull ? "50" : "10"}});
    proof.addTest("swaps with the client in hand: a link to a stranger, even for a moment", swapped, "swaps");
    const auto stopped = runTest("AttackTests.StoppingLeavesTheSessionManagerAlive",
                                 {{"VELTO_ATTACK", proof.isFull ? "38" : "8"}});
    proof.addTest("stops at random moments: dead session managers", stopped, "stops");
}

} // namespace velto
