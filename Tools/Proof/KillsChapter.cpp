// The shipped program, killed at random moments, and the server and its session manager likewise, on a
// private server. What stood before is compared from outside.
#include "Tools/Proof/Proof.h"

#include "Tools/SoundLab/RunningVelto.h"
#include "Tools/SoundLab/ServerState.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <thread>
#include <utility>

namespace velto {

namespace {

using namespace std::chrono_literals;
using State = std::map<std::string, std::string>;

constexpr auto patience = 15s;
constexpr const char* ourName = "com.corlent.velto";

std::string text(const State& state) {
    std::string result;
    for (const auto& [key, value] : state)
        result += "\n  " + key + ": " + value;
    return result;
}

/// A server with three outputs, somebody's choice or none, and the program.
class Bench {
  public:
    Bench(std::string choice, std::uint64_t seed) : choice_(std::move(choice)), random_(seed) {
        connect();
        if (!choice_.empty()) {
            lab->pickDefault(choice_);
            if (!becomes([this] { return storedChoices(server).contains(choice_); }))
                throw std::runtime_error("The session manager stores no choice");
        }
        before_ = serverState(*lab);
    }

    void startVelto() {
        velto.emplace(Proof::built("Velto/velto"), server.environment(), server.folder() / "velto.log");
    }
    /// Has the program do something; returns a little later, whatever has come of it by then.
    void beginSomething() {
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

std::string told(const Kind& kind, int cycle, const Bench& bench, const std::string& what) {
    std::string text = std::string(kind.name) + " killed, cycle " + std::to_string(cycle) + ", during:";
    for (const std::string& word : bench.doing)
        text += " " + word;
    return text + what;
}

/// Half of the cycles with somebody's choice, half without.
int violationsOf(const Kind& kind, Proof& proof) {
    int violated = 0;
    std::unique_ptr<Bench> bench;
    for (int cycle = 0; cycle < kind.count; ++cycle) {
        const bool isChosen = cycle >= kind.count / 2;
        const bool isLast = cycle + 1 == kind.count / 2 || cycle + 1 == kind.count;
        if (cycle == kind.count / 2) bench.reset();
        std::string difference;
        try {
            if (!bench) {
                bench = std::make_unique<Bench>(isChosen ? "usb" : "",
                                                proof.seed + static_cast<std::uint64_t>(cycle));
                bench->startVelto();
            }
            bench->beginSomething();
            kind.kill(*bench);
            difference = bench->difference();
            if (difference.empty() && isLast) difference = bench->differenceOfMemory();
        } catch (const std::exception& error) {
            difference = std::string("\n  ") + error.what();
        }
        if (difference.empty()) continue;
        if (++violated <= 10 && bench) proof.report.addViolation(told(kind, cycle, *bench, difference));
        bench.reset(); // what follows begins anew
    }
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
