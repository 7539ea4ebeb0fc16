#include "Benchmarks/DelayBenchmarks.h"

#include "Benchmarks/CpuComparison.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/ProcessFigures.h"
#include "Tools/SoundLab/SoundBench.h"
#include "Tools/SoundLab/VoiceRecording.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <numbers>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velto {

namespace {

using namespace std::chrono_literals;
using GraphClock = OutputRecorder::GraphClock;

/// Between two samples of a recording, in frames.
std::int64_t longestSilence(const std::vector<float>& recording, std::size_t from, std::size_t to) {
    std::int64_t longest = 0, silent = 0;
    for (std::size_t sample = from; sample < to && sample + 1 < recording.size(); sample += 2) {
        silent = recording[sample] == 0 && recording[sample + 1] == 0 ? silent + 1 : 0;
        longest = std::max(longest, silent);
    }
    return longest;
}

/// What of a recording is no part of the tone, at its loudest: a tone follows from its last two samples.
double residualOfTone(const std::vector<float>& recording, double from, double to) {
    const double next = 2 * std::cos(2 * std::numbers::pi * 440 / OutputRecorder::sampleRate);
    const std::size_t end = std::min(recording.size(), sampleAt(to));
    double result = 0;
    for (std::size_t i = sampleAt(from) + 4; i < end; i += 2)
        result =
            std::max(result, std::abs(recording[i] - next * recording[i - 2] + double{recording[i - 4]}));
    return result;
}

struct TonesHeard {
    double residual;
    std::int64_t silentFrames;
    double otherResidual;
    /// Of cycles for which a recorder itself came too late nothing is known.
    bool isWhole;
};

/// A tone shows each sample that isn't as it should be.
TonesHeard changeDelays(const SoundWorkshop& workshop) {
    SoundBench bench(workshop.folder / "tone.wav");
    OutputRecorder recorder(bench.lab(), {SoundBench::usb}, GraphClock::dummyDriver, 60);
    OutputRecorder otherRecorder(bench.lab(), {SoundBench::desk}, GraphClock::dummyDriver,
                                 60); // waits for nobody
    bench.start();
    recorder.waitUntil(1.0);
    bench.delayUSB("20");
    std::this_thread::sleep_for(500ms);
    const double begin = recorder.timelineSeconds(monotonicNow());
    for (int round = 0; round < 30; ++round) {
        bench.delayUSB(std::to_string(round * 67 % 400));
        std::this_thread::sleep_for(100ms);
    }
    const double end = recorder.timelineSeconds(monotonicNow());
    const bool isWhole = recorder.missedFrames() == 0; // later it waits for what is held up
    kill(bench.helper(), SIGSTOP);
    std::this_thread::sleep_for(1s);
    if (const auto helper = bench.runningHelper()) kill(*helper, SIGCONT);
    std::this_thread::sleep_for(500ms);
    const double last = recorder.timelineSeconds(monotonicNow());
    recorder.stop();
    otherRecorder.stop();
    const std::vector<float> delayed = recorder.samples(SoundBench::usb);
    return {residualOfTone(delayed, begin, end), longestSilence(delayed, sampleAt(begin), sampleAt(end)),
            // From before the first delay on.
            residualOfTone(otherRecorder.samples(SoundBench::desk), 0.9, last),
            isWhole && otherRecorder.missedFrames() == 0};
}

} // namespace

void DelayBenchmarks::cost(SoundWorkshop& workshop) {
    SoundBench bench(workshop.source());
    double memory = 0;
    const CpuComparison compared = compareCpu(bench, [&] {
        bench.start();
        bench.delayUSB("180");
        const double ours = cpuPerSecond(bench);
        memory = memoryOf(bench.helper()).proportional;
        bench.stop();
        return ours;
    });
    workshop.table.add("CPU with one output delayed, against the same",
                       text("x %.2f", median(compared.toBareSink)), "<= 1.8 x",
                       median(compared.toBareSink) <= 1.8);
    compared.addToCombining(workshop.table, "the same against the server's module, which delays nothing",
                            "<= 1.0 x", 1.0);
    workshop.table.add("memory of what delays: PSS", text("%.1f MB", memory), "<= 3 MB", memory <= 3);
}

/// The delayed output while what delays it is killed again and again.
void DelayBenchmarks::kills(SoundWorkshop& workshop) {
    writeNoiseRecording(workshop.folder / "noise.wav", 120);
    SoundBench bench(workshop.folder / "noise.wav");
    OutputRecorder recorder(bench.lab(), {SoundBench::usb}, GraphClock::dummyDriver, 120);
    OutputRecorder otherRecorder(bench.lab(), {SoundBench::desk}, GraphClock::dummyDriver,
                                 120); // waits for nobody
    bench.start();
    bench.delayUSB("20");
    recorder.waitUntil(1.0);
    std::vector<double> events;
    for (int round = 0; round < 100; ++round) {
        events.push_back(recorder.timelineSeconds(monotonicNow()));
        kill(bench.helper(), SIGKILL);
        std::this_thread::sleep_for(100ms);
        bench.delayUSB(round % 2 ? "20" : "20.1"); // asked anew, it is started anew for as often as it takes
        std::this_thread::sleep_for(150ms);
    }
    recorder.stop();
    otherRecorder.stop();
    const std::vector<float> delayed = recorder.samples(SoundBench::usb);
    const std::vector<float> other = otherRecorder.samples(SoundBench::desk);
    std::vector<double> silences;
    std::int64_t mostOfOther = 0;
    for (const double event : events) {
        // The longest silence in the tenth of a second that follows, in quanta.
        const std::size_t begin = sampleAt(event), end = sampleAt(event + 0.1);
        const std::int64_t longest = longestSilence(delayed, begin, end);
        mostOfOther = std::max(mostOfOther, longestSilence(other, begin, end));
        silences.push_back(static_cast<double>(longest) / static_cast<double>(recorder.quantum()));
    }
    const auto within = std::ranges::count_if(silences, [](double quanta) { return quanta <= 2; });
    workshop.table.add("delayed output, what delays it is killed",
                       text("%td of %zu; median %.2f quanta, most %.2f", within, silences.size(),
                            median(silences), std::ranges::max(silences)),
                       "100 of 100 silent for <= 2 quanta", within == std::ssize(silences));
    // Noise is silent for a sample or two by itself.
    workshop.table.add("the other output meanwhile",
                       text("silent for %lld samples at most", static_cast<long long>(mostOfOther)),
                       "<= 3: no sample lost", mostOfOther <= 3);
}

void DelayBenchmarks::changes(SoundWorkshop& workshop) {
    writeToneRecording(workshop.folder / "tone.wav", 120);
    TonesHeard heard = changeDelays(workshop);
    for (int again = 0; again < 4 && !heard.isWhole; ++again)
        heard = changeDelays(workshop);
    workshop.table.add("440 Hz while its delay changes 30 times",
                       text("residual %.5f of full scale, silent for %lld frames%s", heard.residual,
                            static_cast<long long>(heard.silentFrames),
                            heard.isWhole ? "" : "; recorder too late"),
                       "<= 0.001", heard.residual <= 0.001);
    workshop.table.add("the other output, also while what delays is held up",
                       text("residual %.5f of full scale", heard.otherResidual), "<= 0.001: no sample lost",
                       heard.otherResidual <= 0.001);
}

void DelayBenchmarks::rest(SoundWorkshop& workshop) {
    SoundBench resting({});
    SoundBench playing(workshop.source());
    for (SoundBench* bench : {&resting, &playing}) {
        bench->start();
        bench->delayUSB("180");
    }
    std::this_thread::sleep_for(5s);
    const auto wakeUps = [](const std::vector<pid_t>& processes) {
        std::int64_t result = 0;
        for (const pid_t process : processes)
            result += wakeUpsOf(process);
        return result;
    };
    const std::vector<pid_t> all{resting.veltoID(), resting.helper(), resting.server().daemonID()};
    const std::vector<pid_t> control{playing.veltoID()}; // the sound itself needs the others
    const std::int64_t before = wakeUps(all), beforeOfControl = wakeUps(control);
    std::this_thread::sleep_for(60s);
    const std::int64_t whileResting = wakeUps(all) - before;
    const std::int64_t whilePlaying = wakeUps(control) - beforeOfControl;
    workshop.table.add("wake-ups in 60 s, delayed, nothing plays",
                       text("%lld", static_cast<long long>(whileResting)), "0", whileResting == 0);
    workshop.table.add("wake-ups of Velto in 60 s, delayed, while it plays",
                       text("%lld", static_cast<long long>(whilePlaying)), "0", whilePlaying == 0);
}

} // namespace velto
