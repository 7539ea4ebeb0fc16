// The client under attack: killed after each message it sends, its outputs swapped for others while it looks
// away, its server held still at each operation. VELTO_ATTACK multiplies how often.
#include "Tests/PipeWire/CutLine.h"
#include "Tests/PipeWire/RealServer.h"

#include "Platform/Linux/Delay/DelayNames.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "Platform/Linux/PipeWire/PipeWireText.h"
#include "Simulation/InMemoryUserDefaults.h"
#include "Simulation/SimulatedApplicationHost.h"
#include "Simulation/SimulatedAudioEngine.h"
#include "Simulation/SimulatedLoginItemService.h"
#include "Simulation/SimulatedNotificationService.h"
#include "Tests/Support/PlatformTextCollation.h"
#include "Tests/Support/Started.h"
#include "Tools/SoundLab/ServerState.h"
#include "Velto/Shell/AppState.h"
#include "VeltoCore/Observation/Lifetime.h"

#include <cstdlib>
#include <map>
#include <random>
#include <signal.h>
#include <sstream>

namespace velto {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

int times(int count) {
    const char* factor = std::getenv("VELTO_ATTACK");
    return count * (factor ? std::max(std::atoi(factor), 1) : 1);
}

/// The program on a client, not launched: its session is what is attacked.
struct Core {
    Core(CoreAudioClient& client, MainActor& loop, UserDefaults& defaults)
        : state({.actor = loop,
                 .client = std::shared_ptr<CoreAudioClient>(std::shared_ptr<void>(), &client), // not owned
                 .defaults = defaults,
                 .collation = *collation,
                 .loginItems = loginItems,
                 .host = host,
                 .notifications = notifications,
                 .makeAudioEngine = [](auto&) { return std::make_unique<SimulatedAudioEngine>(); }}),
          tasks(loop) {}

    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    SimulatedLoginItemService loginItems;
    SimulatedApplicationHost host;
    SimulatedNotificationService notifications;
    AppState state;
    AudioDeviceManager& devices = state.deviceManager();
    SystemAudioManager& session = state.systemAudio();
    TaskScope tasks; // dies first
};

class AttackTests : public RealServer {
  protected:
    /// Runs until the task has ended, well or not.
    template <class T>
    void finish(Core& core, Task<T> task) {
        Started<T> started(core.tasks, std::move(task));
        ASSERT_TRUE(runUntil([&] { return started.isDone(); }));
    }
    void startSession(Core& core) {
        const auto desk = core.devices.device("desk");
        const auto usb = core.devices.device("usb");
        if (!desk || !usb) return; // it never heard of them
        finish(core, core.session.start(*desk, *usb, "Both", 44100, ClockStrategy::automatic));
    }
    std::map<std::string, std::string> outside() { return serverState(*lab); }
};

TEST_F(AttackTests, KilledAfterAnyMessageItLeavesNothing) {
    stopClient();
    struct World {
        std::string name, choice, alert, rate;
    };
    int passed = 0;
    for (const World& world :
         {World{"nothing chosen", "", "", "0"}, World{"all chosen", "usb", "blue", "32000"}}) {
        refreshLab();
        if (!world.choice.empty())
            setDefaultMetadata(PipeWireKey::configuredSink, "{ \"name\": \"" + world.choice + "\" }");
        if (!world.alert.empty())
            setDefaultMetadata(PipeWireKey::alertSink, "{ \"name\": \"" + world.alert + "\" }");
        setSetting(PipeWireKey::forcedRate, world.rate);
        const auto before = outside();
        // One run that is not cut counts them; then at each, or in short at some of them.
        int messages = CutLine::never;
        const int step = std::max(5 / times(1), 1);
        for (int cut = messages; cut > 0; cut = cut == CutLine::never ? messages : cut - step) {
            InMemoryUserDefaults defaults;
            {
                CutLine line(server.socket(), server.folder() / "cut", cut);
                PipeWireAudioClient killed(loop, loop, line.socket());
                Core core(killed, loop, defaults);
                startSession(core);
                finish(core, core.session.stop());
                if (cut == CutLine::never) messages = line.passed();
            }
            // Every other time the disk was full: then what the server holds is all there is.
            InMemoryUserDefaults afterwards(cut % 2 ? defaults.onDisk() : DefaultsDictionary());
            PipeWireAudioClient next(loop, loop, server.socket());
            Core core(next, loop, afterwards);
            finish(core, core.session.recoverIfNeeded());
            EXPECT_TRUE(runUntil([&] { return outside() == before; }))
                << world.name << ", killed after message " << cut << " of " << messages << ": "
                << testing::PrintToString(outside());
            Started<bool> again(core.tasks, core.session.recoverIfNeeded());
            ASSERT_TRUE(runUntil([&] { return again.isDone(); }));
            EXPECT_FALSE(again.value()) << "a second recovery has nothing to do";
            if (HasFailure()) break;
            ++passed;
        }
        EXPECT_GT(messages, 50);
    }
    RecordProperty("points", passed);
    // A watcher that dies before it has been told all deafens all others for good. The client still hears of
    // a choice, when the player moves.
    startClient();
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    client->setDefaultOutputDevice(aggregate);
    const auto music = play();
    ASSERT_TRUE(runUntil([&] { return isPlayedTo(aggregateUID); }));
    setDefaultMetadata(PipeWireKey::configuredSink, "{ \"name\": \"desk\" }");
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));
    client->destroyAggregateDevice(aggregate);
    client->setDefaultSystemOutputDevice(id("desk"));
    setSetting(PipeWireKey::forcedRate, "0");
}

TEST_F(AttackTests, AnOutputThatComesAsAnotherGoesGetsNoSound) {
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    for (int i = 0; i < times(40); ++i) {
        // All of it before the client hears of any: the newcomer has the IDs of the one that went.
        lab->unplug("usb");
        const std::string stranger = "stranger " + std::to_string(i);
        plug(VirtualOutput::usb(stranger, "Stranger"));
        settle();
        EXPECT_TRUE(lab->waitUntil([&] { return lab->linkCount(aggregateUID, stranger) == 0; })) << i;
        lab->plug(usual("usb"));
        EXPECT_TRUE(runUntil([&] { return client->aggregateActiveSubDeviceIDs(aggregate).size() == 2; }))
            << i;
        lab->unplug(stranger);
    }
    EXPECT_EQ(log.count("Removing a link"), 0u) << "not even for a moment";
    RecordProperty("swaps", times(40));

    // A link that carries our mark and leads astray goes; the same link of somebody else stays.
    std::vector<pw_proxy*> links;
    const auto linkByHand = [&](const char* path) {
        const SoundLab::Lock lock(*lab);
        pw_properties* properties =
            pw_properties_new(PW_KEY_OBJECT_LINGER, "true", PW_KEY_OBJECT_PATH, path, PW_KEY_LINK_OUTPUT_NODE,
                              aggregateUID, PW_KEY_LINK_INPUT_NODE, "blue", PW_KEY_LINK_OUTPUT_PORT,
                              "monitor_FL", PW_KEY_LINK_INPUT_PORT, "playback_FL", nullptr);
        links.push_back(static_cast<pw_proxy*>(pw_core_create_object(
            lab->core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties->dict, 0)));
        pw_properties_free(properties);
    };
    linkByHand(PipeWireKey::link);
    EXPECT_TRUE(runUntil([&] { return log.count("Removing a link to blue") == 1; }));
    EXPECT_TRUE(runUntil([&] { return lab->linkCount(aggregateUID, "blue") == 0; }));
    linkByHand("somebody");
    EXPECT_TRUE(runUntil([&] { return lab->linkCount(aggregateUID, "blue") == 1; }));
    settle();
    EXPECT_EQ(lab->linkCount(aggregateUID, "blue"), 1);
    {
        const SoundLab::Lock lock(*lab);
        for (pw_proxy* link : links)
            pw_proxy_destroy(link);
    }
    client->destroyAggregateDevice(aggregate);
}

TEST_F(AttackTests, StoppingLeavesTheSessionManagerAlive) {
    std::mt19937 random(7);
    for (int i = 0; i < times(8); ++i) {
        const AudioObjectID aggregate = createAggregate({"desk", "usb"});
        switchTo(aggregate);
        auto music = play();
        ASSERT_TRUE(runUntil([&] { return isPlayedTo(aggregateUID); }));
        if (i % 2) { // paused: the aggregate goes to sleep, and for 5 s its sleep is to become deeper
            music.reset();
            ASSERT_TRUE(runUntil([&] { return !client->isRunningSomewhere(aggregate); }));
        }
        const auto until = loop.continuousNow() + std::chrono::milliseconds(random() % 200);
        ASSERT_TRUE(runUntil([&] { return loop.continuousNow() >= until; }));
        client->destroyAggregateDevice(aggregate);
    }
    RecordProperty("stops", times(8));
    // The session manager's timers are longest after 5 s.
    const auto end = loop.continuousNow() + std::chrono::milliseconds(5500);
    while (loop.continuousNow() < end) {
        ASSERT_EQ(kill(server.sessionManagerID(), 0), 0);
        ASSERT_TRUE(lab->waitUntil([&] {
            return lab->defaultMetadata(PipeWireKey::defaultSink).has_value();
        })) << "the session manager has crashed";
        const auto pause = loop.continuousNow() + std::chrono::milliseconds(100);
        runUntil([&] { return loop.continuousNow() >= pause; });
    }
}

TEST_F(AttackTests, WhereNobodyHasChosenNobodyHasAfterwards) {
    for (int i = 0; i < 3; ++i) {
        InMemoryUserDefaults defaults;
        Core core(*client, loop, defaults);
        startSession(core);
        ASSERT_TRUE(core.session.activeSession());
        EXPECT_TRUE(lab->waitForDefault(aggregateUID)); // it hears of it after the client
        EXPECT_EQ(lab->defaultMetadata(PipeWireKey::configuredSink), std::nullopt);
        client->setOutputMute(id(aggregateUID), true); // as a desktop's key does
        finish(core, core.session.stop());
        EXPECT_TRUE(lab->waitForDefault("desk"));
    }
    // The session manager goes on choosing.
    lab->plug({"better", "Better", {{"priority.session", "1500"}}});
    EXPECT_TRUE(lab->waitForDefault("better"));
    lab->unplug("better");
    EXPECT_TRUE(lab->waitForDefault("desk"));
    // Nor does it remember anything else: what it stores it has stored by the time it has stored this.
    const auto somethingElse = [&](float volume) { lab->setChannelVolumes("blue", volume); };
    somethingElse(0.25F);
    EXPECT_TRUE(runUntil([&] {
        return storedText(server, "restore-stream").find("blue:channelVolumes=0.25") != std::string::npos;
    }));
    EXPECT_EQ(storedText(server, "restore-stream").find("velto"), std::string::npos)
        << storedText(server, "restore-stream");
    EXPECT_EQ(storedChoices(server).find("velto"), std::string::npos) << storedChoices(server);
    somethingElse(1);
}

TEST_F(AttackTests, AnAggregateThatSomebodyElseRemovesIsRestoredFrom) {
    lab->pickDefault("usb");
    for (const bool isAlive : {true, false}) {
        const auto before = outside();
        const AudioObjectID aggregate = createAggregate({"desk", "usb"});
        client->setNominalSampleRate(aggregate, 96000);
        switchTo(aggregate);
        ASSERT_TRUE(lab->waitForDefault(aggregateUID));
        if (!isAlive) stopClient();
        lab->unplug(aggregateUID);
        if (!isAlive) startClient();
        EXPECT_TRUE(runUntil([&] { return outside() == before; })) << testing::PrintToString(outside());
    }
    client->setDefaultOutputDevice(id("desk"));
}

TEST_F(AttackTests, ASessionManagerThatCrashesHasChosenNothing) {
    for (const char* choice : {"", "usb"}) {
        if (*choice) {
            lab->pickDefault(choice);
            ASSERT_TRUE(runUntil([&] { return storedChoices(server).find(choice) != std::string::npos; }));
        }
        const auto before = outside();
        const AudioObjectID aggregate = createAggregate({"desk", "usb"});
        client->setDefaultOutputDevice(aggregate);
        std::vector<std::string> heard;
        listen(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice,
               [&] { heard.push_back(defaultUID()); });
        bool isBack = false;
        listen(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted, [&] { isBack = true; });
        if (!*choice) { // a session manager that starts doesn't know all outputs
            for (const char* first : {"desk", aggregateUID}) {
                setDefaultMetadata(PipeWireKey::defaultSink, "{ \"name\": \"" + std::string(first) + "\" }");
                settle();
            }
            EXPECT_EQ(outside()[PipeWireKey::configuredSink], "none");
        }
        server.killSessionManager(); // before it has stored what it was told
        server.startSessionManager();
        EXPECT_TRUE(runUntil([&] { return isBack; }));
        EXPECT_TRUE(runUntil([&] { return lab->defaultOutput() == aggregateUID; }));
        settle();
        EXPECT_THAT(heard, testing::Each(testing::AnyOf(aggregateUID, "")))
            << "nobody else has chosen anything";
        stopListening();
        client->setDefaultOutputDevice(id(*choice ? choice : "desk"));
        client->destroyAggregateDevice(aggregate);
        EXPECT_TRUE(runUntil([&] { return outside() == before; })) << testing::PrintToString(outside());
    }
    client->setDefaultOutputDevice(id("desk"));
}

TEST_F(AttackTests, ASessionOutlivesAServerThatForgetsVelto) {
    const auto before = outside();
    InMemoryUserDefaults defaults;
    {
        Core core(*client, loop, defaults);
        finish(core, core.state.launch());
        startSession(core);
        ASSERT_EQ(kill(server.sessionManagerID(), SIGSTOP), 0);
        EXPECT_NE(statusThrown([&] { client->setDefaultSystemOutputDevice(id("usb")); }), noErr);
        server.killSessionManager(); // it had been asked what its store holds
        server.startSessionManager();
        EXPECT_TRUE(runUntil([&] { return log.count("connecting anew") == 1 && client->isAnswering(); }));
        EXPECT_TRUE(runUntil([&] {
            return defaultUID() == aggregateUID && client->aggregateActiveSubDeviceIDs(id(aggregateUID)) ==
                                                       std::vector{id("desk"), id("usb")};
        }));
        EXPECT_TRUE(core.session.activeSession());
        finish(core, core.state.prepareForTermination());
    }
    EXPECT_TRUE(runUntil([&] { return outside() == before; })) << testing::PrintToString(outside());
}

TEST_F(AttackTests, ALaunchThatMeetsAHangingServerPutsAllBackWhenItAnswers) {
    InMemoryUserDefaults defaults;
    const auto before = outside();
    {
        Core core(*client, loop, defaults);
        startSession(core);
        ASSERT_TRUE(core.session.activeSession());
    } // killed
    stopClient();
    ASSERT_EQ(kill(server.daemonID(), SIGSTOP), 0);
    client.emplace(loop, loop, server.socket());
    ASSERT_EQ(kill(server.daemonID(), SIGCONT), 0);
    Core core(*client, loop, defaults);
    ASSERT_TRUE(runUntil([&] { return client->isAnswering() && defaultUID() == aggregateUID; }));
    finish(core, core.session.recoverIfNeeded());
    EXPECT_TRUE(runUntil([&] { return outside() == before; })) << testing::PrintToString(outside());
}

TEST_F(AttackTests, AForeignSinkWithTheAggregatesNameIsRefusedAndLeftAlone) {
    lab->plug(VirtualOutput::usb(aggregateUID, "Impostor"));
    for (const char* chosen : {"usb", aggregateUID}) {
        lab->pickDefault(chosen);
        const auto before = outside();
        stopClient();
        startClient();
        InMemoryUserDefaults defaults;
        Core core(*client, loop, defaults);
        finish(core, core.session.recoverIfNeeded());
        startSession(core);
        const auto* failed = core.session.state().as<AudioSessionState::Failed>();
        ASSERT_NE(failed, nullptr);
        EXPECT_NE(failed->error.errorDescription().find("Another program's output has the name"),
                  std::string::npos)
            << failed->error.errorDescription();
        settle();
        EXPECT_EQ(outside(), before) << chosen;
    }
    lab->unplug(aggregateUID);
    client->setDefaultOutputDevice(id("desk"));
}

TEST_F(AttackTests, AnOutputWhoseNameIsNoUTF8IsOneLikeOthers) {
    const std::string uid = PipeWireText::fromServer("bro\xff\xc3ken");
    // Another one, whose name is what a stored text would be if such bytes were replaced in it.
    for (const auto& [name, priority] : {std::pair(uid, "1400"), std::pair("bro��ken"s, "100")})
        lab->plug({name, "Bro\xffken", {{"priority.session", priority}}});
    ASSERT_TRUE(runUntil([&] { return defaultUID() == uid; }));
    InMemoryUserDefaults defaults;
    {
        Core core(*client, loop, defaults);
        startSession(core);
        ASSERT_TRUE(core.session.activeSession());
        finish(core, core.session.stop());
        EXPECT_TRUE(runUntil([&] { return defaultUID() == uid; })) << defaultUID();

        // It plays, delayed too, and what is stored of it finds it again.
        const auto broken = core.devices.device(uid);
        const auto desk = core.devices.device("desk");
        ASSERT_TRUE(broken && desk);
        const auto preset = AudioPreset::create("Both", *broken, *desk, {});
        EXPECT_EQ(decodePresets(encodePresets({preset}).value()).value(), std::vector{preset});
        finish(core, core.session.start(*broken, *desk, "Both", {}, ClockStrategy::automatic));
        ASSERT_TRUE(core.session.activeSession());
        const AudioObjectID aggregate = core.session.activeSession()->aggregateDeviceID;
        EXPECT_THAT(client->aggregateActiveSubDeviceIDs(aggregate), ElementsAre(id(uid), id("desk")));
        EXPECT_THAT(client->aggregateFullSubDeviceUIDs(aggregate), ElementsAre(uid, "desk"));
        client->setOutputDelays(aggregate, {{uid, 20}});
        ASSERT_TRUE(runUntil([&] {
            const SoundLab::Lock lock(*lab);
            return lab->graph().delayNode(DelayNames::node(aggregateUID)).has_value();
        }));
        EXPECT_TRUE(runUntil([&] { return client->aggregateActiveSubDeviceIDs(aggregate).size() == 2; }));
    }
    startClient(); // as after a death
    Core core(*client, loop, defaults);
    const auto record = core.state.preferences().loadRecoveryState().value();
    EXPECT_EQ(record.firstDeviceUID, uid);
    EXPECT_EQ(record.previousDefaultOutputUID, uid);
    finish(core, core.session.recoverIfNeeded());
    EXPECT_TRUE(runUntil([&] { return defaultUID() == uid; })) << defaultUID();
    lab->unplug(uid);
    lab->unplug("bro��ken");
}

/// How long a server stands still, in seconds: as long as an operation takes, unless it is said.
std::vector<double> hangs() {
    const char* said = std::getenv("VELTO_HANG_SECONDS");
    std::istringstream words(said ? said : "0");
    return {std::istream_iterator<double>(words), {}};
}

/// The longest turn of the main loop in its life: it takes a turn of its own between all others.
class TurnWatch {
  public:
    explicit TurnWatch(MainActor& loop) : loop_(loop) { look(); }
    TurnWatch(const TurnWatch&) = delete;
    TurnWatch& operator=(const TurnWatch&) = delete;
    /// In seconds.
    double longest() {
        note();
        return std::chrono::duration<double>(longest_).count();
    }

  private:
    void note() {
        const ContinuousInstant now = loop_.continuousNow();
        longest_ = std::max(longest_, now - last_);
        last_ = now;
    }
    void look() {
        note();
        loop_.post(lifetime_.whileAlive([this] { look(); }));
    }

    MainActor& loop_;
    ContinuousInstant last_ = loop_.continuousNow();
    Duration longest_{};
    Lifetime lifetime_;
};

TEST_F(AttackTests, AHangingServerCostsNoTurnOfTheLoopMuch) {
    using Operation = std::function<void(Core&)>;
    const std::vector<std::pair<const char*, Operation>> operations{
        {"launch", [&](Core&) { PipeWireAudioClient launched(loop, loop, server.socket()); }},
        {"start", [&](Core& core) { startSession(core); }},
        {"stop", [&](Core& core) { finish(core, core.session.stop()); }},
        {"volume",
         [&](Core&) {
             for (int i = 0; i < 10; ++i)
                 client->setOutputVolume(id("desk"), 0.05F * static_cast<float>(i));
             EXPECT_FLOAT_EQ(client->outputVolume(id("desk")), 0.45F) << "what was asked last";
         }},
        {"re-assert", [&](Core& core) { core.session.reassertDefaultOutput(); }},
        {"abandon", [&](Core& core) { finish(core, core.session.abandonSession()); }},
        {"recover", [&](Core& core) { finish(core, core.session.recoverIfNeeded()); }},
    };
    double longest = 0;
    int count = 0;
    for (const double seconds : hangs()) {
        for (const pid_t hanging : {server.daemonID(), server.sessionManagerID()}) {
            for (const auto& [name, operation] : operations) {
                const auto before = outside();
                InMemoryUserDefaults defaults;
                Core core(*client, loop, defaults);
                if (std::string(name) != "start") startSession(core);
                ASSERT_EQ(kill(hanging, SIGSTOP), 0);
                {
                    TurnWatch watch(loop);
                    const auto end = loop.continuousNow() + std::chrono::duration_cast<Duration>(
                                                                std::chrono::duration<double>(seconds));
                    operation(core);
                    loop.runUntil([&] { return loop.continuousNow() >= end; }, std::chrono::minutes(1));
                    EXPECT_LT(watch.longest(), 0.6) << name;
                    longest = std::max(longest, watch.longest());
                }
                ASSERT_EQ(kill(hanging, SIGCONT), 0);
                ASSERT_TRUE(runUntil([&] { return client->settle(); }));
                finish(core, core.session.recoverIfNeeded()); // as the service monitor has it
                if (core.session.activeSession()) finish(core, core.session.stop());
                client->setOutputVolume(id("desk"), 1);
                EXPECT_TRUE(runUntil([&] { return outside() == before; }))
                    << name << " " << testing::PrintToString(outside())
                    << testing::PrintToString(log.linesWith(""));
                ++count;
            }
        }
    }
    RecordProperty("hangs", count);
    RecordProperty("longestTurnMilliseconds", static_cast<int>(longest * 1000));
}

} // namespace
} // namespace velto
