// The outputs of the shipped program aligned in virtual rooms on real sound: each room is told by its seed,
// and what was measured is held to what the room is.
#include "Benchmarks/FigureTable.h"
#include "Tools/SoundLab/ClockedOutput.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/OwnedFolder.h"
#include "Tools/SoundLab/SoundBench.h"
#include "Tools/SoundLab/SoundRoom.h"
#include "Tools/SoundLab/VoiceRecording.h"

#include <nlohmann/json.hpp>

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace velto;
using nlohmann::json;

constexpr double rightWithin = 0.05; // milliseconds, and half a step of the delays
constexpr double delayStep = 0.1;
constexpr double longestSeconds = 6;

FigureTable table;

VirtualRoom room(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    const auto between = [&](double from, double to) {
        return from + (to - from) * static_cast<double>(random() >> 11) * 0x1p-53;
    };
    VirtualRoom result;
    result.seed = seed;
    const double quieter = std::pow(10, between(-15, 5) / 20);
    for (auto& output : result.outputs)
        output = {.milliseconds = between(0, 500), .gain = 0.3};
    result.outputs[seed % 2].gain *= quieter;
    result.reverberationSeconds = between(0.2, 0.5);
    result.directToReverberant = between(-6, 12);
    result.noise = std::min(quieter, 1.0) * 0.05 * std::pow(10, -between(0, 20) / 20);
    return result;
}

struct Tally {
    int answered = 0;
    int refused = 0;
    double worst = 0;
    double longest = 0;
};

/// Of a session that plays, undelayed.
void align(SoundBench& bench, SoundRoom& sound, std::uint64_t seed, Tally& tally) {
    const VirtualRoom now = room(seed);
    sound.change(now);
    const RunningVelto::Answer answer = bench.align();
    const double truth = now.outputs[1].milliseconds - now.outputs[0].milliseconds;
    tally.longest = std::max(tally.longest, answer.milliseconds / 1000);
    if (answer.exitStatus != 0) {
        ++tally.refused;
        std::printf("seed %2d: %+8.3f ms, refused: %s\n", static_cast<int>(seed), truth,
                    answer.error.c_str());
        return;
    }
    ++tally.answered;
    const json outputs = json::parse(answer.json).at("alignment").at("outputs");
    const auto difference = [&](const char* key) {
        return outputs.at(1).at(key).get<double>() - outputs.at(0).at(key).get<double>();
    };
    const double error = std::abs(difference("lateBefore") - truth);
    const double rest = std::abs(truth + difference("delay"));
    tally.worst = std::max({tally.worst, error, rest - delayStep / 2});
    std::printf("seed %2d: %+8.3f ms, %.4f off; delayed by %+.1f, %.3f left; told %.3f; %.2f s\n",
                static_cast<int>(seed), truth, error, -difference("delay"), rest, difference("lateAfter"),
                answer.milliseconds / 1000);
}

/// Between the two measurements both outputs are silent: until when, after one of the programs is killed
/// then.
double silenceAfterKill(const std::filesystem::path& music, bool isVelto) {
    SoundBench bench(music);
    SoundRoom sound(bench.server().socket(), room(1), {SoundBench::desk, SoundBench::usb});
    bench.start();
    OutputRecorder recorder(bench.lab(), {SoundBench::desk, SoundBench::usb},
                            OutputRecorder::GraphClock::dummyDriver);
    const auto client = bench.beginAligning();
    std::this_thread::sleep_for(std::chrono::milliseconds(1700));
    const pid_t helper = bench.helper();
    const double killed = recorder.timelineSeconds(monotonicNow());
    if (isVelto) {
        bench.killVelto();
    } else {
        kill(helper, SIGKILL);
    }
    recorder.waitUntil(killed + 2);
    recorder.stop();
    double longest = 0;
    for (const char* output : {SoundBench::desk, SoundBench::usb}) {
        const auto samples = recorder.samples(output);
        const auto from = samples.begin() + std::lround(killed * OutputRecorder::sampleRate) * 2;
        const auto heard = std::find_if(from, samples.end(), [](float sample) { return sample != 0; });
        const auto frames = static_cast<double>(std::distance(from, heard)) / 2;
        longest = std::max(longest, frames / OutputRecorder::sampleRate * 1000);
    }
    if (isVelto) bench.launchVelto(); // cleans up
    if (!isVelto) bench.stop();
    const bool isLeft =
        !bench.lab().waitUntil([&] { return !bench.lab().graph().device("com.corlent.velto.aggregate"); });
    table.add(isVelto ? "left after the next launch" : "left after the session",
              isLeft ? "the aggregate" : "nothing", "nothing", !isLeft);
    return longest;
}

void kills(const std::filesystem::path& music) {
    for (const bool isVelto : {true, false}) {
        const double silence = silenceAfterKill(music, isVelto);
        table.add(isVelto ? "Velto killed while measuring: both heard again"
                          : "what plays the sweeps killed: both heard again",
                  text("after %.0f ms", silence), "200 ms", silence <= 200);
    }
}

/// Two outputs whose clocks run apart by more than those of real hardware, the earlier one delayed.
void clocks(const std::filesystem::path& folder) {
    writeNoiseRecording(folder / "noise.wav", 60);
    SoundBench bench(folder / "noise.wav");
    const ClockedOutput fast(bench.server().socket(), "velto.lab.fast", "Fast DAC",
                             {.partsPerMillion = 300, .milliseconds = 40, .reportedMilliseconds = 40});
    const ClockedOutput slow(bench.server().socket(), "velto.lab.slow", "Slow Speaker",
                             {.partsPerMillion = -300, .milliseconds = 223.4});
    bench.play("velto.lab.fast", "velto.lab.slow");
    bench.delay("velto.lab.fast", "183.4");
    std::vector<double> apart;
    for (int second = 0; second < 32; ++second) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        if (second < 12) continue; // until both have found their pace
        if (const auto late = heardLaterBy(fast, slow, monotonicNow() - 600'000'000)) apart.push_back(*late);
    }
    bench.stop();
    const auto [least, most] = std::ranges::minmax(apart);
    table.add("clocks 600 millionths apart, one output delayed: heard apart",
              text("%zu of 20 seconds, by %+.3f to %+.3f ms", apart.size(), least, most), "0.1 ms, 20 of 20",
              apart.size() == 20 && std::max(-least, most) <= 0.1);
}

int measure(std::uint64_t rooms) {
    const OwnedFolder owned("velto-room-bench");
    const auto music = owned.path() / "voice.wav";
    writeVoiceRecording(music, 120);
    kills(music);
    clocks(owned.path());
    SoundBench bench(music);
    SoundRoom sound(bench.server().socket(), room(1), {SoundBench::desk, SoundBench::usb});
    Tally tally;
    for (std::uint64_t seed = 1; seed <= rooms; ++seed) {
        bench.start();
        align(bench, sound, seed, tally);
        bench.undelay();
        bench.stop();
    }
    table.add("aligned in rooms on real sound",
              text("%d of %d, %d refused", tally.answered, static_cast<int>(rooms), tally.refused),
              "4 of 5 answered", tally.answered * 5 >= static_cast<int>(rooms) * 4);
    table.add("error of what was measured, and of what was delayed beyond its step",
              text("%.4f ms at worst", tally.worst), text("%.2f ms", rightWithin),
              tally.worst <= rightWithin);
    table.add("from press to done", text("%.2f s at most", tally.longest), text("%.0f s", longestSeconds),
              tally.longest <= longestSeconds);
    return table.isEveryFigureWithin() ? 0 : 1;
}

} // namespace

int main(int count, char** words) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        return measure(count > 1 ? std::strtoull(words[1], nullptr, 10) : 24);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-room-benchmarks: %s.\n", error.what());
        return 1;
    }
}
