// The shipped program, killed at random moments, and the server and its session manager likewise, on a
// private server. What stood before is compared from outside.
#include "Tools/Proof/Proof.h"

#include "Tools/SoundLab/RunningVelto.h"
#include "Tools/SoundLab/ServerState.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace velto {

namespace {

using namespace std::chrono_literals;
using State = std::map<std::string, std::string>;

constexpr auto patience = 15s;
constexpr const char* ourName = "com.corlent.velto";
/// Enough to see what is wrong.
constexpr int toldViolations = 10;
constexpr std::size_t toldLines = 30;

std::string text(const State& state) {
    std::string result;
    for (const auto& [key, value] : state)
        result += "\n  " + key + ": " + value;
    return result;
}

/// A server with three outputs, somebody's choice or none, and the program.
class Bench {
  public:
    explicit Bench(std::string choice) : choice_(std::move(choice)) {
        connect();
        if (!choice_.empty()) {
            lab->pickDefault(choice_);
            if (!becomes([this] { return storedChoices(server).contains(choice_); }))
                throw std::runtime_error("The session manager stores no choice");
        }
        before_ = serverState(*lab);
    }

    void startVelto() { velto.emplace(Proof::built("Velto/velto"), server.environment(), log()); }
    /// The last that the program has said, runs before it included.
    std::string said() const {
        std::ifstream stream(log());
        std::deque<std::string> lines;
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
            if (lines.size() > toldLines) lines.pop_front();
        }
        std::string result;
        for (const std::string& line : lines)
            result += "\n  | " + line;
        return result;
    }
    /// Has the program do something; returns a little later, whatever has come of it by then.
    void beginSomething(std::uint64_t seed) {
        random_.seed(seed);
        static const std::vector<RunningVelto::Words> all{
            {"play", "desk", "usb"}, {"play", "desk", "usb"}, {"play", "usb", "blue"}, {"stop"},
            {"volume", "40%"},       {"mute", "toggle"},      {"delay", "80", "usb"}};
        for (int i = static_cast<int>(random_() % 3); i > 0; --i) // first the first of it
            velto->command(all.at(random_() % all.size()));
        RunningVelto::Words words{Proof::built("Velto/velto")};
        doing = all.at(random_() % all.size());
        words.insert(words.end(), doing.begin(), doing.end());
        words.emplace_back("--json");
        client_.emplace(words, ChildProcess::Options{server.environment(), "", true});
        // One that finds no program starts one: it is to have begun.
        if (doing.front() == "play") client_->readLine(20s);
        std::this_thread::sleep_for(std::chrono::microseconds(random_() % 60'000));
    }
    void awaitClient() {
        if (client_) client_->wait(20s);
        client_.reset();
    }
    void restartServer() {
        lab.reset();
        server.start();
        connect();
    }
    void connect() {
        lab.emplace(server.socket());
        for (const VirtualOutput& output :
             {VirtualOutput::builtIn("desk", "Desk Speakers"), VirtualOutput::usb("usb", "USB Interface"),
              VirtualOutput::bluetooth("blue", "Headphones")})
            lab->plug(output);
    }
    /// A little later, at random.
    void wait() { std::this_thread::sleep_for(std::chrono::microseconds(random_() % 300'000)); }
    /// Whether it becomes so before long.
    static bool becomes(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::sleep_for(5ms);
        }
        return true;
    }
    /// What differs from before for good; empty when nothing does.
    std::string difference() {
        if (becomes([this] { return serverState(*lab) == before_; })) return "";
        return text(serverState(*lab)) + "\ninstead of" + text(before_);
    }
    /// What the session manager remembers otherwise than before, asked by starting it anew.
    std::string differenceOfMemory() {
        velto.reset();
        const bool isNamed = choice_.empty() && storedChoices(server).contains(ourName);
        if (isNamed) return "\n  nobody had chosen, and it remembers:\n" + storedChoices(server);
        // What it is told it stores a little later.
        const std::string ours = "default.configured.audio.sink=" + std::string(ourName);
        if (!becomes([&] { return !storedChoices(server).contains(ours); }))
            return "\n  it keeps:\n" + storedChoices(server);
        server.killSessionManager();
        server.startSessionManager();
        return difference();
    }

    PrivateSoundServer server;
    std::optional<SoundLab> lab;
    std::optional<RunningVelto> velto; // ends before the server
    RunningVelto::Words doing;

  private:
    std::filesystem::path log() const { return server.folder() / "velto.log"; }

    std::string choice_;
    std::mt19937_64 random_;
    State before_;
    std::optional<ChildProcess> client_;
};

/// One kind of killing. What it does ends with the program running and no session.
struct Kind {
    const char* name;
    int count;
    std::function<void(Bench&)> kill;
};

void stop(Bench& bench) {
    bench.awaitClient();
    const bool isStopped = Bench::becomes([&] { return bench.velto->command({"stop"}).exitStatus == 0; });
    if (!isStopped) throw std::runtime_error("the program can't be stopped any more");
}

void killVelto(Bench& bench) {
    bench.velto->process().kill();
    bench.awaitClient();
    bench.startVelto();
}
void killSessionManager(Bench& bench) {
    bench.server.killSessionManager();
    bench.wait();
    bench.server.startSessionManager();
    stop(bench);
}
void killServer(Bench& bench) {
    bench.server.killDaemon();
    bench.wait();
    bench.restartServer();
    stop(bench);
}
void killBoth(Bench& bench) {
    bench.server.kill();
    bench.wait();
    bench.restartServer();
    stop(bench);
}

std::string told(const Kind& kind, std::uint64_t seed, const Bench* bench, const std::string& what) {
    std::string text = std::string(kind.name) + " killed, seed " + std::to_string(seed) + ", during:";
    if (!bench) return text + what;
    for (const std::string& word : bench->doing)
        text += " " + word;
    return text + what + "\nThe program:" + bench->said();
}

/// Some of a kind's cycles, on servers of their own.
class Lane {
  public:
    Lane(const Kind& kind, int cycles, std::uint64_t seed) : kind_(kind), cycles_(cycles), seed_(seed) {}

    /// Half of the cycles with somebody's choice, half without.
    void run() {
        for (int cycle = 0; cycle < cycles_; ++cycle) {
            const bool isLast = cycle + 1 == cycles_ / 2 || cycle + 1 == cycles_;
            if (cycle == cycles_ / 2) bench_.reset();
            const std::string difference = differenceAfter(cycle, isLast);
            if (difference.empty()) continue;
            violations_.push_back(told(kind_, seedOf(cycle), bench_.get(), difference));
            bench_.reset(); // what follows begins anew
        }
        bench_.reset(); // on the thread whose end would end its programs
    }
    const std::vector<std::string>& violations() const noexcept { return violations_; }

  private:
    std::uint64_t seedOf(int cycle) const noexcept { return seed_ + static_cast<std::uint64_t>(cycle); }
    std::string differenceAfter(int cycle, bool isLast) {
        try {
            if (!bench_) {
                bench_ = std::make_unique<Bench>(cycle >= cycles_ / 2 ? "usb" : "");
                bench_->startVelto();
            }
            bench_->beginSomething(seedOf(cycle));
            kind_.kill(*bench_);
            const std::string difference = bench_->difference();
            return difference.empty() && isLast ? bench_->differenceOfMemory() : difference;
        } catch (const std::exception& error) {
            return std::string("\n  ") + error.what();
        }
    }

    const Kind& kind_;
    int cycles_;
    std::uint64_t seed_;
    std::unique_ptr<Bench> bench_;
    std::vector<std::string> violations_;
};

/// A cycle mostly waits, so several run at once.
int violationsOf(const Kind& kind, Proof& proof) {
    const int lanes =
        std::clamp(static_cast<int>(std::thread::hardware_concurrency()) * 4, 1, kind.count / 10);
    std::vector<std::unique_ptr<Lane>> all;
    std::vector<std::jthread> threads;
    for (int lane = 0, first = 0; lane < lanes; ++lane) {
        const int end = kind.count * (lane + 1) / lanes;
        all.push_back(
            std::make_unique<Lane>(kind, end - first, proof.seed + static_cast<std::uint64_t>(first)));
        threads.emplace_back(&Lane::run, all.back().get());
        first = end;
    }
    threads.clear();
    int violated = 0;
    for (const auto& lane : all)
        for (const std::string& violation : lane->violations())
            if (++violated <= toldViolations) proof.report.addViolation(violation);
    return violated;
}

} // namespace

void killForReal(Proof& proof) {
    for (const Kind& kind : {Kind{"the program", proof.times(60, 10'000), killVelto},
                             Kind{"the session manager", proof.times(20, 100), killSessionManager},
                             Kind{"the server", proof.times(20, 100), killServer},
                             Kind{"server and session manager", proof.times(20, 100), killBoth}})
        proof.addCount(std::string(kind.name) + " killed: not as before", violationsOf(kind, proof),
                       std::to_string(kind.count) + " cycles");
}

} // namespace velto
