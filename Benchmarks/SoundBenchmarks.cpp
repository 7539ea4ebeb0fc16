// Velto's figures on real sound: a private sound server, virtual outputs, a stock player.
//
// Prints one table; the exit status is 0 when every figure is within its limit. Machines are noisy: medians
// and ratios within one run count.

#include "Benchmarks/CombineStream.h"
#include "Benchmarks/FigureTable.h"
#include "Benchmarks/ProcessFigures.h"
#include "Benchmarks/SoundBench.h"
#include "Tools/Judge/Report.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/OwnedFolder.h"
#include "Tools/SoundLab/VoiceRecording.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numbers>
#include <optional>
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

/// Recordings, sources and stories, gone with the program.
struct Workshop {
    OwnedFolder owned{"velto-bench"};
    fs::path folder = owned.path();
    Workshop() { writeVoiceRecording(source(), 120); }
    fs::path source() const { return folder / "source.wav"; }
};

FigureTable table;

void reportTimes(const char* what, const std::vector<double>& times) {
    table.add(
        what,
        text("median %.1f ms, most %.1f ms, of %zu", median(times), std::ranges::max(times), times.size()),
        "median <= 25 ms", median(times) <= 25);
}

void startsAndStops(const Workshop& workshop) {
    SoundBench bench(workshop.source());
    std::vector<double> starts, stops;
    for (int round = 0; round < 40; ++round) {
        std::this_thread::sleep_for(30ms);
        starts.push_back(bench.start());
        std::this_thread::sleep_for(30ms);
        stops.push_back(bench.stop());
    }
    reportTimes("start: call to both outputs linked", starts);
    reportTimes("stop: call to outputs restored, all gone", stops);
}

std::string slurp(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Samples that an output lost around an event, as the judge hears it.
std::int64_t lostSamples(const Workshop& workshop, const OutputRecorder& recorder, const std::string& output,
                         double event) {
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
std::int64_t lossOfSurvivor(const Workshop& workshop, int deskDriverPriority, std::int64_t& quantum) {
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

void survivors(const Workshop& workshop) {
    std::int64_t quantum = 0;
    std::int64_t most = 0;
    for (int round = 0; round < 3; ++round)
        most = std::max(most, lossOfSurvivor(workshop, 0, quantum));
    table.add("survivor of an unplug", text("most %lld samples of 3 rounds", static_cast<long long>(most)),
              "no sample lost", most == 0);
    most = 0;
    for (int round = 0; round < 3; ++round)
        most = std::max(most, lossOfSurvivor(workshop, 3000, quantum));
    table.add("survivor, the graph's driver unplugged",
              text("most %.2f quanta of 3 rounds", static_cast<double>(most) / static_cast<double>(quantum)),
              "<= 2 quanta", most <= 2 * quantum);
}

/// Of a recording in stereo.
std::size_t sampleAt(double seconds) {
    return static_cast<std::size_t>(seconds * OutputRecorder::sampleRate) * 2;
}

void replugs(const Workshop& workshop) {
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
    table.add("replugged output sounds again",
              text("%d of %zu; median %.1f ms, most %.1f ms", within, events.size(), median(silences),
                   std::ranges::max(silences)),
              text("100 of 100 in <= %.1f ms", limit), within == 100);
}

/// What one would build by hand: a null sink, linked to both outputs, as the default.
void plugBareSink(SoundBench& bench) {
    bench.lab().plug({"bare", "A null sink with two links", {}});
    for (const char* output : {SoundBench::desk, SoundBench::usb})
        for (const char* channel : {"FL", "FR"}) {
            ChildProcess link({"pw-link", "-L", std::string("bare:monitor_") + channel,
                               std::string(output) + ":playback_" + channel},
                              {bench.server().environment(), "", false});
            if (link.wait(5s) != 0) throw std::runtime_error("pw-link could not link the bare sink");
        }
    bench.lab().pickDefault("bare");
}

/// Milliseconds of the daemon's, our, and another process's CPU per second of audio.
double cpuPerSecond(SoundBench& bench, pid_t other = 0) {
    return cpuPerSecondOfAudio([&] { return bench.cpuSeconds() + (other > 0 ? cpuSecondsOf(other) : 0); });
}

/// What the server's own module takes for the same; none where it doesn't come to play.
std::optional<double> cpuOfCombining(SoundBench& bench) {
    try {
        const CombineStream peer(bench);
        return cpuPerSecond(bench, peer.process());
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return std::nullopt;
    }
}

/// Beside the server's module, of the rounds in which that played.
void compareWithCombining(const char* what, const std::vector<double>& ratios, const char* limit,
                          double most) {
    if (ratios.empty()) return table.addPeer(what, "the module played in no round");
    table.add(what, text("x %.2f", median(ratios)), limit, median(ratios) <= most);
}

void cpu(const Workshop& workshop) {
    SoundBench bench(workshop.source());
    std::vector<double> ratios, peerRatios, ours;
    for (int round = 0; round < 6; ++round) {
        const auto combined = cpuOfCombining(bench);
        plugBareSink(bench);
        const double bare = cpuPerSecond(bench);
        bench.lab().unplug("bare");
        bench.start();
        ours.push_back(cpuPerSecond(bench));
        bench.stop();
        ratios.push_back(ours.back() / bare);
        if (combined) peerRatios.push_back(ours.back() / *combined);
    }
    table.add("CPU against a bare null sink with two links",
              text("x %.2f; %.1f ms per second of audio", median(ratios), median(ours)), "<= 1.1 x",
              median(ratios) <= 1.1);
    compareWithCombining("CPU against the server's module that combines streams", peerRatios, "<= 0.7 x",
                         0.7);
}

/// Between two samples of a recording, in frames.
std::int64_t longestSilence(const std::vector<float>& recording, std::size_t from, std::size_t to) {
    std::int64_t longest = 0, silent = 0;
    for (std::size_t sample = from; sample < to && sample + 1 < recording.size(); sample += 2) {
        silent = recording[sample] == 0 && recording[sample + 1] == 0 ? silent + 1 : 0;
        longest = std::max(longest, silent);
    }
    return longest;
}

/// The delayed output while what delays it is killed again and again.
void killsOfDelay(const Workshop& workshop) {
    writeNoiseRecording(workshop.folder / "noise.wav", 120);
    SoundBench bench(workshop.folder / "noise.wav");
    OutputRecorder recorder(bench.lab(), {SoundBench::usb}, Clock::dummyDriver, 120);
    OutputRecorder otherRecorder(bench.lab(), {SoundBench::desk}, Clock::dummyDriver,
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
    table.add("delayed output, what delays it is killed",
              text("%td of %zu; median %.2f quanta, most %.2f", within, silences.size(), median(silences),
                   std::ranges::max(silences)),
              "100 of 100 silent for <= 2 quanta", within == std::ssize(silences));
    // Noise is silent for a sample or two by itself.
    table.add("the other output meanwhile",
              text("silent for %lld samples at most", static_cast<long long>(mostOfOther)),
              "<= 3: no sample lost", mostOfOther <= 3);
}

void delayed(const Workshop& workshop) {
    SoundBench bench(workshop.source());
    std::vector<double> ratios, peerRatios;
    double memory = 0;
    for (int round = 0; round < 6; ++round) {
        const auto combined = cpuOfCombining(bench);
        plugBareSink(bench);
        const double bare = cpuPerSecond(bench);
        bench.lab().unplug("bare");
        bench.start();
        bench.delayUSB("180");
        const double ours = cpuPerSecond(bench);
        ratios.push_back(ours / bare);
        if (combined) peerRatios.push_back(ours / *combined);
        memory = memoryOf(bench.helper()).proportional;
        bench.stop();
    }
    table.add("CPU with one output delayed, against the same", text("x %.2f", median(ratios)), "<= 1.8 x",
              median(ratios) <= 1.8);
    compareWithCombining("the same against the server's module, which delays nothing", peerRatios, "<= 1.0 x",
                         1.0);
    table.add("memory of what delays: PSS", text("%.1f MB", memory), "<= 3 MB", memory <= 3);
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
TonesHeard changeDelays(const Workshop& workshop) {
    SoundBench bench(workshop.folder / "tone.wav");
    OutputRecorder recorder(bench.lab(), {SoundBench::usb}, Clock::dummyDriver, 60);
    OutputRecorder otherRecorder(bench.lab(), {SoundBench::desk}, Clock::dummyDriver, 60); // waits for nobody
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

void changesOfDelay(const Workshop& workshop) {
    writeToneRecording(workshop.folder / "tone.wav", 120);
    TonesHeard heard = changeDelays(workshop);
    for (int again = 0; again < 4 && !heard.isWhole; ++again)
        heard = changeDelays(workshop);
    table.add("440 Hz while its delay changes 30 times",
              text("residual %.5f of full scale, silent for %lld frames%s", heard.residual,
                   static_cast<long long>(heard.silentFrames), heard.isWhole ? "" : "; recorder too late"),
              "<= 0.001", heard.residual <= 0.001);
    table.add("the other output, also while what delays is held up",
              text("residual %.5f of full scale", heard.otherResidual), "<= 0.001: no sample lost",
              heard.otherResidual <= 0.001);
}

void restOfDelay(const Workshop&) {
    SoundBench bench({});
    bench.start();
    bench.delayUSB("180");
    std::this_thread::sleep_for(5s);
    const pid_t helper = bench.helper();
    const pid_t daemon = bench.server().daemonID();
    const std::int64_t before = wakeUpsOf(helper) + wakeUpsOf(daemon);
    std::this_thread::sleep_for(60s);
    const std::int64_t wakeUps = wakeUpsOf(helper) + wakeUpsOf(daemon) - before;
    table.add("wake-ups in 60 s, delayed, nothing plays", text("%lld", static_cast<long long>(wakeUps)), "0",
              wakeUps == 0);
}

} // namespace

/// All of them, or those that are named.
int main(int count, char** names) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::pair<const char*, void (*)(const Workshop&)> all[]{
        {"starts", startsAndStops},  {"survivors", survivors},
        {"replugs", replugs},        {"cpu", cpu},
        {"delayed", delayed},        {"kills", killsOfDelay},
        {"changes", changesOfDelay}, {"rest", restOfDelay}};
    const std::vector<std::string> wanted(names + 1, names + count);
    try {
        const Workshop workshop;
        for (const auto& [name, measure] : all)
            if (wanted.empty() || std::ranges::find(wanted, name) != wanted.end()) measure(workshop);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-sound-benchmarks: %s\n", error.what());
        return 1;
    }
    return table.isEveryFigureWithin() ? 0 : 1;
}
