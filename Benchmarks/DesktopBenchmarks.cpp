// What Velto costs on a desktop, beside a volume control that rests in the status area and one with a window.
//
// Prints one table, and where the memory is; the exit status is 0 when every figure is within its limit. All
// of it happens on a private desktop and a private sound server. Medians and ratios within one run count.

#include "Benchmarks/FigureTable.h"
#include "Benchmarks/PrivateDesktop.h"
#include "Benchmarks/PrivatePulse.h"
#include "Tools/SoundLab/PrivateSoundServer.h"
#include "Tools/SoundLab/ProcessFigures.h"
#include "Tools/SoundLab/SoundLab.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
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
using Clock = PrivateDesktop::Clock;

constexpr int rounds = 5;
constexpr int starts = 15;
constexpr int clicks = 6;
constexpr auto untilItRests = 3s;
/// Longer than the click after the panel was closed that doesn't open it again.
constexpr auto betweenClicks = 500ms;
/// Threads that Qt keeps for a while end after half a minute.
constexpr auto untilIdleThreadsEnd = 35s;
constexpr auto restingTime = 60s;
constexpr std::size_t namedFiles = 20;

const std::vector<std::string> pasystray{"pasystray"};
const std::vector<std::string> pavucontrol{"pavucontrol"};

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// The desktop, the sound server with two outputs, and what speaks PulseAudio's protocol for the others.
class Bench {
  public:
    Bench() : desktop_(server_.folder()), lab_(server_.socket()) {
        lab_.plug(VirtualOutput::builtIn("velto.lab.desk", "Desk Speakers"));
        lab_.plug(VirtualOutput::usb("velto.lab.usb", "USB DAC"));
        pulse_.emplace(server_, options().environment);
        fs::create_directories(server_.folder() / "config/velto");
        std::ofstream(server_.folder() / "config/velto/defaults.json")
            << R"({"hasCompletedOnboarding": true})";
    }

    PrivateDesktop& desktop() noexcept { return desktop_; }
    std::vector<std::string> velto() const {
        const fs::path build = fs::canonical("/proc/self/exe").parent_path().parent_path();
        return {build / "Velto/velto"};
    }

    /// For a program of this desktop.
    ChildProcess::Options options(bool hasPipes = false) const {
        auto environment = server_.environment();
        for (const auto& [name, value] : desktop_.environment())
            environment[name] = value;
        return {std::move(environment), "", hasPipes};
    }

    /// Whether Velto is known to the sound server.
    bool isConnected() const {
        ChildProcess list({"pw-cli", "ls", "Client"}, options(true));
        while (const auto line = list.readLine(5s))
            if (line->contains("application.name = \"velto\"")) return true;
        return false;
    }

  private:
    PrivateSoundServer server_;
    PrivateDesktop desktop_;
    SoundLab lab_;
    std::optional<PrivatePulse> pulse_;
};

void end(ChildProcess& program) {
    program.signal(SIGTERM);
    if (!program.wait(10s)) throw std::runtime_error("A program does not end");
}

void endWell(ChildProcess& velto) {
    velto.signal(SIGTERM);
    if (velto.wait(10s) != 0) throw std::runtime_error("Velto did not end well");
}

struct Memories {
    std::vector<double> proportional, privateDirty;
    void add(const ProcessMemory& memory) {
        proportional.push_back(memory.proportional);
        privateDirty.push_back(memory.privateDirty);
    }
    std::string text() const {
        return velto::text("%.1f MB (%.1f)", median(proportional), median(privateDirty));
    }
};

struct Measured {
    /// Just after another start, and after a while of rest.
    std::vector<double> veltoStarts, pasystrayStarts, veltoStartsAfterRest, pasystrayStartsAfterRest;
    std::vector<double> firstFrames, laterFrames;
    Memories resting, background, open, pasystray, pavucontrol;
    std::vector<MemoryOfFile> restingFiles, openFiles;
};

void measurePavucontrol(Bench& bench, Memories& memories) {
    ChildProcess program(pavucontrol, bench.options());
    bench.desktop().awaitPaintedWindow();
    std::this_thread::sleep_for(untilItRests);
    memories.add(memoryOf(program.id()));
    end(program);
    bench.desktop().awaitNoWindow();
}

void measureBackground(Bench& bench, Memories& memories) {
    std::vector<std::string> command = bench.velto();
    command.emplace_back("--background");
    ChildProcess program(command, bench.options());
    std::this_thread::sleep_for(untilItRests);
    memories.add(memoryOf(program.id()));
    endWell(program);
}

double clickToFrame(PrivateDesktop& desktop) {
    const auto click = desktop.clickStatusItem();
    return milliseconds(desktop.awaitPaintedWindow() - click);
}

void measurePanel(Bench& bench, pid_t process, Measured& measured) {
    PrivateDesktop& desktop = bench.desktop();
    measured.firstFrames.push_back(clickToFrame(desktop));
    std::this_thread::sleep_for(untilItRests);
    measured.open.add(memoryOf(process));
    measured.openFiles = memoryByFile(process);
    for (int click = 0; click < clicks; ++click) {
        desktop.clickStatusItem();
        desktop.awaitNoWindow();
        std::this_thread::sleep_for(betweenClicks);
        measured.laterFrames.push_back(clickToFrame(desktop));
        std::this_thread::sleep_for(betweenClicks);
    }
}

/// Until it has a status item.
double startOf(Bench& bench, std::optional<ChildProcess>& program, const std::vector<std::string>& command) {
    bench.desktop().forgetStatusItems();
    const auto begin = Clock::now();
    program.emplace(command, bench.options());
    return milliseconds(bench.desktop().awaitStatusItem() - begin);
}

/// In turns, one soon after the other: all files are in memory. A kernel may drop what wasn't touched for
/// half a minute.
void measureStarts(Bench& bench, Measured& measured) {
    bench.desktop().movePointerAway();
    for (int turn = 0; turn < starts; ++turn) {
        std::optional<ChildProcess> program;
        measured.pasystrayStarts.push_back(startOf(bench, program, pasystray));
        end(*program);
        measured.veltoStarts.push_back(startOf(bench, program, bench.velto()));
        endWell(*program);
    }
}

void measureRound(Bench& bench, Measured& measured) {
    bench.desktop().movePointerAway();
    measurePavucontrol(bench, measured.pavucontrol);
    measureBackground(bench, measured.background);
    std::optional<ChildProcess> program;
    measured.pasystrayStartsAfterRest.push_back(startOf(bench, program, pasystray));
    std::this_thread::sleep_for(untilItRests);
    measured.pasystray.add(memoryOf(program->id()));
    end(*program);
    measured.veltoStartsAfterRest.push_back(startOf(bench, program, bench.velto()));
    std::this_thread::sleep_for(untilItRests);
    if (!bench.isConnected()) throw std::runtime_error("Velto is not connected to the sound server");
    measured.resting.add(memoryOf(program->id()));
    measured.restingFiles = memoryByFile(program->id());
    measurePanel(bench, program->id(), measured);
    endWell(*program);
    bench.desktop().awaitNoWindow();
}

/// All at the same time: they do not wake each other.
void measureWakeUps(Bench& bench, FigureTable& table) {
    bench.desktop().movePointerAway();
    ChildProcess velto(bench.velto(), bench.options());
    ChildProcess inStatusArea(pasystray, bench.options());
    ChildProcess window(pavucontrol, bench.options());
    std::this_thread::sleep_for(untilIdleThreadsEnd);
    const std::vector<pid_t> processes{velto.id(), inStatusArea.id(), window.id()};
    std::vector<std::int64_t> counts;
    for (const pid_t process : processes)
        counts.push_back(-wakeUpsOf(process));
    std::this_thread::sleep_for(restingTime);
    for (std::size_t index = 0; index < processes.size(); ++index)
        counts[index] += wakeUpsOf(processes[index]);
    table.add("wake-ups in 60 s, resting",
              text("%lld; pasystray %lld, pavucontrol %lld", static_cast<long long>(counts[0]),
                   static_cast<long long>(counts[1]), static_cast<long long>(counts[2])),
              "0", counts[0] == 0);
}

void report(const Measured& measured, FigureTable& table) {
    const double resting = median(measured.resting.proportional);
    const double inStatusArea = median(measured.pasystray.proportional);
    table.add("memory, panel never opened: PSS (private dirty)",
              measured.resting.text() + "; pasystray " + measured.pasystray.text(),
              text("<= 1.0 x pasystray; x %.2f", resting / inStatusArea), resting <= inStatusArea);
    const double background = median(measured.background.proportional);
    table.add("memory without windows, resting: PSS (private dirty)", measured.background.text(),
              text("<= 0.5 x with windows; x %.2f", background / resting), background <= 0.5 * resting);
    const double open = median(measured.open.proportional);
    const double window = median(measured.pavucontrol.proportional);
    table.add("memory, panel open: PSS (private dirty)",
              measured.open.text() + "; pavucontrol " + measured.pavucontrol.text(),
              text("<= 1.1 x pavucontrol; x %.2f", open / window), open <= 1.1 * window);
    const auto addStarts = [&](const char* what, const std::vector<double>& ours,
                               const std::vector<double>& others) {
        const double start = median(ours), other = median(others);
        table.add(what, text("%.0f ms; pasystray %.0f ms", start, other),
                  text("<= 0.5 x pasystray; x %.2f", start / other), start <= 0.5 * other);
    };
    addStarts("process start to status item", measured.veltoStarts, measured.pasystrayStarts);
    addStarts("process start to status item, after a while", measured.veltoStartsAfterRest,
              measured.pasystrayStartsAfterRest);
    const double first = median(measured.firstFrames);
    const double later = median(measured.laterFrames);
    table.add("click to first frame, first time",
              text("median %.0f ms, most %.0f ms", first, std::ranges::max(measured.firstFrames)),
              "median <= 120 ms", first <= 120);
    table.add("click to first frame, later",
              text("median %.0f ms, most %.0f ms", later, std::ranges::max(measured.laterFrames)),
              "median <= 30 ms", later <= 30);
}

void reportFiles(const char* when, const std::vector<MemoryOfFile>& files) {
    std::printf("\nwhere the memory is, %s (PSS, private dirty, MB)\n", when);
    ProcessMemory rest;
    for (std::size_t index = 0; index < files.size(); ++index) {
        const auto& [name, memory] = files[index];
        if (index < namedFiles) {
            std::printf("%8.2f %6.2f  %s\n", memory.proportional, memory.privateDirty, name.c_str());
        } else {
            rest.proportional += memory.proportional;
            rest.privateDirty += memory.privateDirty;
        }
    }
    std::printf("%8.2f %6.2f  all others\n", rest.proportional, rest.privateDirty);
}

} // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        const int others = programsWith("libQt6Core.so") + programsWith("libgtk-3.so");
        if (others > 0)
            std::printf(
                "%d other programs with Qt or GTK are running: memory shared with them counts in part.\n",
                others);
        Bench bench;
        FigureTable table;
        Measured measured;
        Memories
            uncounted; // the first GTK program on a display asks for its visuals, and remembers them for all
        measurePavucontrol(bench, uncounted);
        measureStarts(bench, measured);
        for (int round = 0; round < rounds; ++round)
            measureRound(bench, measured);
        report(measured, table);
        measureWakeUps(bench, table);
        reportFiles("panel never opened", measured.restingFiles);
        reportFiles("panel open", measured.openFiles);
        return table.isEveryFigureWithin() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-desktop-benchmarks: %s\n", error.what());
        return 1;
    }
}
