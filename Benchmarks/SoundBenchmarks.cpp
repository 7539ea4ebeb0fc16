// Velto's figures on real sound: a private sound server, virtual outputs, a stock player.
//
// Prints one table; the exit status is 0 when every figure is within its limit. Machines are noisy: medians
// and ratios within one run count.

#include "Benchmarks/CpuComparison.h"
#include "Benchmarks/DelayBenchmarks.h"
#include "Benchmarks/FigureTable.h"
#include "Benchmarks/SoundWorkshop.h"
#include "Tools/Judge/Report.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/SoundBench.h"
#include "Tools/SoundLab/VoiceRecording.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace velto;
using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Clock = OutputRecorder::GraphClock;

void reportTimes(FigureTable& table, const char* what, const std::vector<double>& times) {
    table.add(
        what,
        text("median %.1f ms, most %.1f ms, of %zu", median(times), std::ranges::max(times), times.size()),
        "median <= 25 ms", median(times) <= 25);
}

void startsAndStops(SoundWorkshop& workshop) {
    SoundBench bench(workshop.source());
    std::vector<double> starts, stops;
    for (int round = 0; round < 40; ++round) {
        std::this_thread::sleep_for(30ms);
        starts.push_back(bench.start());
        std::this_thread::sleep_for(30ms);
        stops.push_back(bench.stop());
    }
    reportTimes(workshop.table, "start: call to both outputs linked", starts);
    reportTimes(workshop.table, "stop: call to outputs restored, all gone", stops);
}

std::string slurp(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Samples that an output lost around an event, as the judge hears it.
std::int64_t lostSamples(const SoundWorkshop& workshop, const OutputRecorder& recorder,
                         const std::string& output, double event) {
    judge::Story story;
    story.source = "source.wav";
    story.outputs = {{output, output, "", output + ".wav"}};
    judge::StoryStep step;
    step.name = "unplug";
    step.expected = "the other plays on";
    step.sound = {output};
    step.from = event + 0.2;
    step.to = event + 1.2;
    step.survivor = {output, event, 1'000'000};
    story.steps = {step};
    recorder.write(output, workshop.folder / story.outputs.front().recording);
    judge::writeStory(story, workshop.folder / "story.json");
    const fs::path program =
        fs::canonical("/proc/self/exe").parent_path().parent_path() / "Tools/Judge/velto-judge";
    ChildProcess child({program.string(), (workshop.folder / "story.json").string(), "--report",
                        (workshop.folder / "report.json").string()},
                       {{}, workshop.folder / "judge.log", false});
    child.wait(60s);
    if (!fs::exists(workshop.folder / "report.json"))
        throw std::runtime_error("The judge could not hear the recording: " +
                                 slurp(workshop.folder / "judge.log"));
    const judge::StepJudgement heard = judge::readReport(workshop.folder / "report.json").at(0);
    if (!heard.lost)
        throw std::runtime_error("The judge could not tell what was lost: " + heard.reasons.at(0));
    return heard.lost->total();
}

/// Unplugs the desk speakers while both play; answers what the other output lost.
std::int64_t lossOfSurvivor(const SoundWorkshop& workshop, int deskDriverPriority, std::int64_t& quantum) {
    SoundBench bench(workshop.source(), deskDriverPriority);
    OutputRecorder recorder(bench.lab(), {SoundBench::desk, SoundBench::usb},
                            deskDriverPriority ? Clock::outputs : Clock::dummyDriver, 10);
    bench.start();
    recorder.waitUntil(2.0);
    quantum = recorder.quantum();
    const double event = recorder.timelineSeconds(bench.lab().unplug(SoundBench::desk));
    recorder.waitUntil(event + 1.5);
    recorder.stop();
    return lostSamples(workshop, recorder, SoundBench::usb, event);
}

void survivors(SoundWorkshop& workshop) {
    std::int64_t quantum = 0;
    std::int64_t most = 0;
    for (int round = 0; round < 3; ++round)
        most = std::max(most, lossOfSurvivor(workshop, 0, quantum));
    workshop.table.add("survivor of an unplug",
                       text("most %lld samples of 3 rounds", static_cast<long long>(most)), "no sample lost",
                       most == 0);
    most = 0;
    for (int round = 0; round < 3; ++round)
        most = std::max(most, lossOfSurvivor(workshop, 3000, quantum));
    workshop.table.add(
        "survivor, the graph's driver unplugged",
        text("most %.2f quanta of 3 rounds", static_cast<double>(most) / static_cast<double>(quantum)),
        "<= 2 quanta", most <= 2 * quantum);
}

void replugs(SoundWorkshop& workshop) {
    // A recording without pauses: any sample tells that the output is back.
    writeNoiseRecording(workshop.folder / "noise.wav", 120);
    SoundBench bench(workshop.folder / "noise.wav");
    OutputRecorder recorder(bench.lab(), {SoundBench::desk, SoundBench::usb}, Clock::dummyDriver, 120);
    bench.start();
    recorder.waitUntil(1.0);
    std::vector<double> events;
    for (int round = 0; events.size() < 100 && round < 200; ++round) {
        bench.unplugDesk();
        std::this_thread::sleep_for(120ms);
        const std::int64_t missed = recorder.missedFrames();
        const double event = recorder.timelineSeconds(bench.plugDesk());
        std::this_thread::sleep_for(250ms);
        // Of a cycle for which the recorder itself came too late nothing is known.
        if (recorder.missedFrames() == missed) events.push_back(event);
    }
    recorder.stop();
    const std::vector<float> back = recorder.samples(SoundBench::desk);
    const std::vector<float> other = recorder.samples(SoundBench::usb);
    const double limit = static_cast<double>(recorder.quantum()) * 1000 / OutputRecorder::sampleRate + 5;
    std::vector<double> silences;
    int within = 0;
    for (const double event : events) {
        // Where the other output plays and this one doesn't, this one isn't back.
        std::size_t sample = sampleAt(event);
        while (sample < back.size() && (back[sample] == 0 || other[sample] == 0))
            ++sample;
        silences.push_back((static_cast<double>(sample) / 2 / OutputRecorder::sampleRate - event) * 1000);
        if (silences.back() <= limit) ++within;
    }
    workshop.table.add("replugged output sounds again",
                       text("%d of %zu; median %.1f ms, most %.1f ms", within, events.size(),
                            median(silences), std::ranges::max(silences)),
                       text("100 of 100 in <= %.1f ms", limit), within == 100);
}

void cpu(SoundWorkshop& workshop) {
    SoundBench bench(workshop.source());
    const CpuComparison compared = compareCpu(bench, [&] {
        bench.start();
        const double ours = cpuPerSecond(bench);
        bench.stop();
        return ours;
    });
    workshop.table.add(
        "CPU against a bare null sink with two links",
        text("x %.2f; %.1f ms per second of audio", median(compared.toBareSink), median(compared.ours)),
        "<= 1.1 x", median(compared.toBareSink) <= 1.1);
    compared.addToCombining(workshop.table, "CPU against the server's module that combines streams",
                            "<= 0.7 x", 0.7);
}

} // namespace

/// All of them, or those that are named.
int main(int count, char** names) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::pair<const char*, void (*)(SoundWorkshop&)> all[]{{"starts", startsAndStops},
                                                                 {"survivors", survivors},
                                                                 {"replugs", replugs},
                                                                 {"cpu", cpu},
                                                                 {"delayed", DelayBenchmarks::cost},
                                                                 {"kills", DelayBenchmarks::kills},
                                                                 {"changes", DelayBenchmarks::changes},
                                                                 {"rest", DelayBenchmarks::rest}};
    const std::vector<std::string> wanted(names + 1, names + count);
    try {
        SoundWorkshop workshop;
        for (const auto& [name, measure] : all)
            if (wanted.empty() || std::ranges::find(wanted, name) != wanted.end()) measure(workshop);
        return workshop.table.isEveryFigureWithin() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-sound-benchmarks: %s\n", error.what());
        return 1;
    }
}
