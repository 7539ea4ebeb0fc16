// The program that delays, on a real server, judged by what the outputs were heard to play.
#include "Platform/Linux/Delay/DelayNames.h"
#include "Platform/Linux/PipeWire/PipeWireDelayHelper.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "Tests/PipeWire/HeardServer.h"
#include "Tools/SoundLab/ProcessFigures.h"

#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <thread>

namespace velto {
namespace {

using namespace std::chrono_literals;

class DelayTests : public HeardServer {
  protected:
    /// "desk" hears the aggregate itself, "usb" through the helper.
    void SetUp() override {
        RealServer::SetUp();
        client->setDefaultOutputDevice(createAggregate({"desk"}));
        record(OutputRecorder::GraphClock::dummyDriver);
    }
    void TearDown() override {
        recorder.reset();
        helper.reset();
        if (client->isAnswering() && id(aggregateUID) != kAudioObjectUnknown) {
            client->setDefaultOutputDevice(id("desk"));
            client->destroyAggregateDevice(id(aggregateUID));
        }
        RealServer::TearDown();
    }

    void startHelper(double milliseconds) {
        whyEnded.clear();
        helper.emplace(loop, loop, server.socket(), aggregateUID,
                       PipeWireDelayHelper::Outputs{{"usb", milliseconds}},
                       [this](const std::string& why) { whyEnded = why; });
        linkHelper();
    }
    void linkHelper() {
        const std::string node = DelayNames::node(aggregateUID);
        for (const std::string name : DelayNames::channels) {
            link(aggregateUID, "monitor_" + name, node, DelayNames::input(name));
            link(node, DelayNames::output(0, name), "usb", "playback_" + name);
        }
    }
    /// Asks until the link is there: the helper's ports take a moment.
    void link(const std::string& from, const std::string& output, const std::string& to,
              const std::string& input) {
        pw_proxy* proxy = nullptr;
        spa_hook hook{};
        bool isRefused = true;
        pw_proxy_events events{};
        events.version = PW_VERSION_PROXY_EVENTS;
        events.error = [](void* refused, int, int, const char*) { *static_cast<bool*>(refused) = true; };
        const auto release = [&] {
            if (!proxy) return;
            spa_hook_remove(&hook);
            pw_proxy_destroy(proxy);
        };
        EXPECT_TRUE(runUntil([&] {
            const SoundLab::Lock lock(*lab);
            if (!std::exchange(isRefused, false)) return pw_proxy_get_bound_id(proxy) != SPA_ID_INVALID;
            release();
            proxy = requestLink(from, output, to, input);
            pw_proxy_add_listener(proxy, &hook, &events, &isRefused);
            return false;
        })) << from
            << " to " << to;
        const SoundLab::Lock lock(*lab);
        release();
    }
    pw_proxy* requestLink(const std::string& from, const std::string& output, const std::string& to,
                          const std::string& input) {
        pw_properties* properties = pw_properties_new(
            PW_KEY_OBJECT_LINGER, "true", PW_KEY_LINK_PASSIVE, "true", PW_KEY_LINK_OUTPUT_NODE, from.c_str(),
            PW_KEY_LINK_OUTPUT_PORT, output.c_str(), PW_KEY_LINK_INPUT_NODE, to.c_str(),
            PW_KEY_LINK_INPUT_PORT, input.c_str(), nullptr);
        auto* const proxy = static_cast<pw_proxy*>(pw_core_create_object(
            lab->core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties->dict, 0));
        pw_properties_free(properties);
        return proxy;
    }
    /// Whether all that the outputs do is over: nobody has woken for a while.
    bool isAsleep() {
        const std::int64_t before = wakeUpsOf(helper->process());
        const std::int64_t start = monotonicNow();
        return runUntil([&] { return monotonicNow() > start + 300'000'000; }) &&
               wakeUpsOf(helper->process()) == before;
    }
    /// Only while there is one: no process is -1, and that would mean all of them.
    void signalHelper(int number) {
        if (helper->isRunning()) {
            kill(helper->process(), number);
        } else {
            FAIL() << "the helper is gone: " << whyEnded;
        }
    }

    std::optional<PipeWireDelayHelper> helper;
    std::string whyEnded;
};

TEST_F(DelayTests, TheDelayIsRightToTheSampleAlsoWhereQuantumRateOrDelayChangeWhilePlaying) {
    startHelper(12.4);
    const auto music = play();
    struct Stretch {
        const char* key;
        int value;
        double milliseconds;
        int rate;
    };
    for (const Stretch& stretch :
         {Stretch{"clock.force-quantum", 64, 12.4, 48000}, Stretch{"clock.force-quantum", 256, 80, 48000},
          Stretch{"clock.force-quantum", 2048, 0, 48000}, Stretch{"clock.force-quantum", 1024, 183.4, 48000},
          Stretch{PipeWireKey::forcedRate, 44100, 183.4, 44100},
          Stretch{PipeWireKey::forcedRate, 96000, 12.4, 96000},
          Stretch{"clock.force-quantum", 256, 100, 96000}}) {
        setSetting(stretch.key, std::to_string(stretch.value));
        helper->setDelays({{"usb", stretch.milliseconds}});
        playFor(stretch.rate * 2 / 5); // until the change and what was in the line are through
        // On a machine too busy for so small a quantum a stretch can be unreadable, but never read otherwise.
        std::optional<std::int64_t> heard;
        for (int attempt = 0; attempt < 10 && !heard; ++attempt) {
            const std::int64_t from = recorder->frames();
            playFor(stretch.rate / 5);
            heard = lag(from, recorder->frames());
        }
        EXPECT_EQ(heard, std::llround(stretch.milliseconds * stretch.rate / 1000))
            << stretch.key << " " << stretch.value;
    }
}

TEST_F(DelayTests, TheEndOfASoundIsHeardWholeAndThenAllRest) {
    record(OutputRecorder::GraphClock::players); // any other keeps the outputs awake
    startHelper(500);
    for (const std::int64_t frames : {14400, 28800}) { // less than is delayed, and more
        const auto music = play();
        playFor(frames);
        music->kill();
        ASSERT_TRUE(runUntil([&] { return isAsleep(); }));
    }
    recorder->stop();
    const auto direct = sounds("desk");
    const auto delayed = sounds("usb");
    ASSERT_EQ(direct.size(), 2u);
    ASSERT_EQ(delayed.size(), 2u) << "a sound of before is not heard at the next start";
    for (std::size_t i = 0; i < 2; ++i) {
        const auto end = delayed[i].second;
        const auto later = lag(end - 2400, end);
        ASSERT_TRUE(later.has_value());
        // The recorder hears the output that drives the graph one cycle late, and its last cycle not at all.
        EXPECT_NEAR(static_cast<double>(*later), 24000, 2048);
        EXPECT_GE(end, direct[i].second + *later) << "the end is heard";
    }
}

TEST_F(DelayTests, AHelperThatIsHeldUpIsInStepAgainAndOneThatHangsOrIsKilledIsTold) {
    startHelper(80);
    const auto music = play();
    // By itself: a recorder of both outputs would wait for the one that is held up.
    SoundLab secondLab(server.socket());
    OutputRecorder other(secondLab, {"desk"}, OutputRecorder::GraphClock::dummyDriver);
    playFor(9600);
    const std::int64_t start = other.frames();
    // For less than what is taken for hanging; and then this program, but not the helper.
    signalHelper(SIGSTOP);
    ASSERT_TRUE(runUntil([&] { return other.frames() > start + 9600; }));
    signalHelper(SIGCONT);
    std::this_thread::sleep_for(1s);
    playFor(14400);
    EXPECT_EQ(whyEnded, "");
    const std::int64_t inStep = recorder->frames();
    playFor(9600);
    const std::int64_t end = recorder->frames();

    const pid_t hanging = helper->process();
    signalHelper(SIGSTOP);
    EXPECT_TRUE(runUntil([&] { return !whyEnded.empty(); }));
    EXPECT_LT(recorder->frames() - end, 72000);
    EXPECT_EQ(whyEnded, "It hangs");
    EXPECT_FALSE(helper->isRunning());
    EXPECT_FALSE(std::filesystem::exists("/proc/" + std::to_string(hanging))) << "it is gone, and reaped";
    helper->setDelays({{"usb", 1}}); // nobody is told

    startHelper(80);
    playFor(9600);
    signalHelper(SIGKILL);
    EXPECT_TRUE(runUntil([&] { return !whyEnded.empty(); }));
    EXPECT_EQ(whyEnded, "It was ended by signal 9");
    const std::int64_t over = other.frames();
    recorder->stop();
    other.stop();
    EXPECT_EQ(lag(inStep, end), 3840);
    EXPECT_LE(silentFrames(other.samples("desk"), start, over), longestHole)
        << "the other output plays on all the time";
}

TEST_F(DelayTests, AHelperThatHangsAtItsStartIsTold) {
    // Its library's log is a pipe that nobody reads.
    const std::filesystem::path log = server.folder() / "log";
    ASSERT_EQ(mkfifo(log.c_str(), 0600), 0);
    setenv("PIPEWIRE_LOG", log.c_str(), 1);
    helper.emplace(loop, loop, server.socket(), aggregateUID, PipeWireDelayHelper::Outputs{{"usb", 20}},
                   [this](const std::string& why) { whyEnded = why; });
    unsetenv("PIPEWIRE_LOG");
    EXPECT_TRUE(runUntil([&] { return !whyEnded.empty(); }));
    EXPECT_EQ(whyEnded, "It hangs at its start");
}

TEST_F(DelayTests, TheSoundIsFadedOutAndInAndCommandsCanBeOfAnyKind) {
    startHelper(80);
    const auto music = play();
    playFor(9600);
    helper->setDelays({{"usb", 12.4}, {"nobody", 5}});
    helper->playSweeps("usb", "usb", 0.25);
    playFor(3600);
    const std::int64_t faded = recorder->frames();
    playFor(4800); // before the sweeps
    helper->endSweeps();
    const std::int64_t until = recorder->frames();
    playFor(9600);
    const std::int64_t back = recorder->frames();
    playFor(9600);
    const std::int64_t end = recorder->frames();
    recorder->stop();
    EXPECT_EQ(silentFrames(recorder->samples("usb"), faded, until), until - faded);
    EXPECT_LE(silentFrames(recorder->samples("desk"), faded, until), longestHole);
    EXPECT_EQ(lag(back, end), 595);
}

TEST_F(DelayTests, AloneItGoesOnUntilTheAggregateOrTheServerGoesOrItIsTold) {
    const auto start = [&](std::vector<std::string> words) {
        words.insert(words.begin(), VELTO_DELAY_PROGRAM);
        return std::make_unique<ChildProcess>(
            std::move(words),
            ChildProcess::Options{server.environment(), server.folder() / "delay.log", false});
    };
    const auto music = play();
    const auto program = start({"", aggregateUID, "usb", "80"}); // nothing to read, from the beginning
    linkHelper();
    playFor(9600);
    const std::int64_t from = recorder->frames();
    playFor(9600);
    const std::int64_t until = recorder->frames();
    recorder->stop();
    EXPECT_EQ(lag(from, until), 3840);
    const auto told = start({"", aggregateUID, "blue", "80"});
    EXPECT_FALSE(told->wait(100ms));
    told->signal(SIGTERM);
    EXPECT_EQ(told->wait(10s), 0);
    EXPECT_EQ(start({"", "nobody", "blue", "80"})->wait(10s), 0) << "there is no such aggregate";
    EXPECT_EQ(start({"", aggregateUID, "blue"})->wait(10s), 1);
    EXPECT_EQ(start({"", aggregateUID, "blue", "loud"})->wait(10s), 1);
    EXPECT_TRUE(program->isRunning());
    client->setDefaultOutputDevice(id("desk"));
    client->destroyAggregateDevice(id(aggregateUID));
    EXPECT_EQ(program->wait(10s), 0);

    createAggregate({"desk"});
    const auto orphan = start({"", aggregateUID, "usb", "80"});
    EXPECT_FALSE(orphan->wait(100ms));
    killServer();
    EXPECT_TRUE(runUntil([&] { return !client->isAnswering() && !client->isServiceThere(); }));
    EXPECT_EQ(orphan->wait(10s), 0);
    EXPECT_EQ(start({"", aggregateUID, "usb", "80"})->wait(10s), 1) << "there is no server";
}

} // namespace
} // namespace velto
