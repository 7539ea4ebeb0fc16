#include "Tests/PipeWire/RealServer.h"

#include "Platform/Linux/PipeWire/PipeWireKeys.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <fstream>
#include <iterator>
#include <thread>

namespace velto {
namespace {

using testing::ElementsAre;

class SystemOutputTests : public RealServer {
  protected:
    /// The name of the output that somebody has chosen; none when nobody has.
    std::optional<std::string> configured() {
        const auto value = lab->defaultMetadata(PipeWireKey::configuredSink);
        if (!value) return std::nullopt;
        return nlohmann::json::parse(*value).at("name").get<std::string>();
    }
    bool becomesConfigured(const std::optional<std::string>& name) {
        const auto isConfigured = [&] { return configured() == name; };
        if (lab->waitUntil(isConfigured, std::chrono::milliseconds(500))) return true;
        refreshLab(); // it is not told of what happens while others begin to watch
        return lab->waitUntil(isConfigured);
    }
    /// Whether the session manager comes to remember that choice.
    bool isStored(const std::string& name) {
        return runUntil([&] {
            std::ifstream file(server.folder() / "state/wireplumber/default-nodes");
            const std::string stored(std::istreambuf_iterator<char>(file), {});
            return stored.contains("default.configured.audio.sink=" + name);
        });
    }
    /// Whether "desk" comes to be the choice that it was.
    bool isConfiguredAgain() {
        return runUntil([&] {
            refreshLab(); // which watches the store while others begin to
            return configured() == "desk";
        });
    }
    /// What a session does: switches both outputs to an aggregate, back, and removes it.
    void runSession(std::string previous) {
        const AudioObjectID aggregate = createAggregate({"desk", "blue"});
        switchTo(aggregate);
        EXPECT_EQ(defaultUID(), aggregateUID);
        EXPECT_EQ(alertUID(), aggregateUID);
        switchTo(id(previous));
        client->destroyAggregateDevice(aggregate);
    }
};

/// Other programs that begin to watch the server's store, again and again.
class Watchers {
  public:
    explicit Watchers(SoundLab& lab)
        : thread_(
              [&lab](const std::atomic<bool>* isOver) {
                  while (!*isOver) {
                      const SoundLab::Lock lock(lab);
                      pw_registry* registry = pw_core_get_registry(lab.core(), PW_VERSION_REGISTRY, 0);
                      const PipeWireMetadata watcher(registry, lab.graph().defaultMetadata()->globalID(),
                                                     [] {});
                      pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
                  }
              },
              &isOver_) {}
    ~Watchers() {
        isOver_ = true;
        thread_.join();
    }

  private:
    std::atomic<bool> isOver_ = false;
    std::thread thread_;
};

TEST_F(SystemOutputTests, AnUpdateThatTheServerLosesIsAskedForAgain) {
    const Watchers watchers(*lab);
    for (int i = 0; i < 40; ++i) {
        const char* wanted = i % 2 ? "desk" : "usb";
        client->setDefaultOutputDevice(id(wanted));
        EXPECT_EQ(defaultUID(), wanted);
    }
}

TEST_F(SystemOutputTests, ASessionLeavesTheChoiceOfOutputAsItWas) {
    ASSERT_EQ(configured(), std::nullopt);
    runSession("desk");
    EXPECT_TRUE(becomesConfigured(std::nullopt)) << "nobody had chosen: the system goes on choosing";
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));

    lab->pickDefault("blue");
    ASSERT_TRUE(runUntil([&] { return defaultUID() == "blue"; }));
    runSession("blue");
    EXPECT_TRUE(becomesConfigured("blue"));
    EXPECT_EQ(defaultUID(), "blue");

    // Chosen, but not there: the system plays on something else, and remembers the choice.
    lab->unplug("blue");
    ASSERT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));
    runSession("desk");
    EXPECT_TRUE(becomesConfigured("blue"));
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));
    lab->plug(usual("blue"));
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "blue"; }));
    client->setDefaultOutputDevice(id("desk"));
}

TEST_F(SystemOutputTests, WhatSomebodyElseChoosesDuringASessionStays) {
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    switchTo(aggregate);
    lab->pickDefault("blue");
    ASSERT_TRUE(runUntil([&] { return defaultUID() == "blue"; }));
    client->destroyAggregateDevice(aggregate);
    settle();
    EXPECT_TRUE(becomesConfigured("blue"));
    EXPECT_EQ(defaultUID(), "blue");
    EXPECT_EQ(alertUID(), "blue");
    client->setDefaultOutputDevice(id("desk"));
}

TEST_F(SystemOutputTests, AChoiceLeftByACrashThatNamesTheAggregateIsForgotten) {
    for (const bool becomesDefault : {true, false}) {
        setDefaultMetadata(PipeWireKey::configuredSink, R"({ "name": "com.corlent.velto.aggregate" })");
        const AudioObjectID aggregate = createAggregate({"desk", "usb"});
        if (becomesDefault) {
            switchTo(aggregate);
            EXPECT_EQ(defaultUID(), aggregateUID);
        }
        client->destroyAggregateDevice(aggregate);
        EXPECT_TRUE(becomesConfigured(std::nullopt)) << *configured();
        EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; })) << defaultUID();
    }
}

TEST_F(SystemOutputTests, AChoiceOfAnAggregateThatWentWithItsServerIsForgottenAtTheStart) {
    const auto startAgainWithChoice = [&](const std::string& name) {
        setDefaultMetadata(PipeWireKey::configuredSink, R"({ "name": ")" + name + R"(" })");
        ASSERT_TRUE(becomesConfigured(name));
        stopClient();
        startClient();
    };
    startAgainWithChoice("com.corlent.velto.aggregate");
    EXPECT_TRUE(becomesConfigured(std::nullopt));
    startAgainWithChoice("blue");
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "blue"; })) << "any other choice stays";
    client->setDefaultOutputDevice(id("desk"));
}

TEST_F(SystemOutputTests, AChoiceOutlivesTheServerOfItsSession) {
    lab->pickDefault("desk");
    ASSERT_TRUE(isStored("desk"));
    settle();
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    switchTo(aggregate);
    ASSERT_TRUE(isStored(aggregateUID));
    killServer();
    restartServer();
    EXPECT_TRUE(isConfiguredAgain()) << configured().value_or("none");
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; })) << defaultUID();

    // What the session manager has stored comes after its store, which we follow already.
    setDefaultMetadata(PipeWireKey::configuredSink, R"({ "name": "com.corlent.velto.aggregate" })");
    ASSERT_TRUE(isStored(aggregateUID));
    server.killSessionManager();
    const auto isSeen = [&] {
        return statusThrown([&] { client->defaultOutputDeviceID(); }) == kAudioHardwareNotRunningError;
    };
    ASSERT_TRUE(runUntil(isSeen));
    server.startSessionManager();
    EXPECT_TRUE(isConfiguredAgain()) << configured().value_or("none");
}

TEST_F(SystemOutputTests, WhatIsReclaimedAsASessionEndsIsGivenBack) {
    lab->pickDefault("desk");
    ASSERT_TRUE(isStored("desk"));
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    switchTo(aggregate);
    server.killSessionManager(); // before it has stored that
    server.startSessionManager();
    ASSERT_TRUE(runUntil([&] { return log.count("making it the default again") > 0; }));
    client->destroyAggregateDevice(aggregate); // nobody has told yet that it was
    EXPECT_TRUE(isConfiguredAgain()) << configured().value_or("none");
    EXPECT_TRUE(leavesNoNotes());
    EXPECT_TRUE(isStored("desk"));
}

TEST_F(SystemOutputTests, AlertsFollowTheDefaultUntilTheyHaveAnOutputOfTheirOwn) {
    lab->pickDefault("usb");
    EXPECT_TRUE(runUntil([&] { return alertUID() == "usb"; }));
    client->setDefaultSystemOutputDevice(id("blue"));
    EXPECT_EQ(alertUID(), "blue");
    EXPECT_EQ(defaultUID(), "usb");
    lab->unplug("blue"); // never a dead output
    EXPECT_TRUE(runUntil([&] { return alertUID() == "usb"; }));
    lab->plug(usual("blue"));
    EXPECT_TRUE(runUntil([&] { return alertUID() == "blue"; }));
    client->setDefaultOutputDevice(id("desk"));
    EXPECT_EQ(alertUID(), "blue");
    client->setDefaultSystemOutputDevice(id("desk"));
    EXPECT_TRUE(leavesNoNotes()) << "following needs no note";
}

TEST_F(SystemOutputTests, ANoteThatMakesNoSenseIsIgnored) {
    for (const char* note : {"", "7", "[", "{\"name\":", "{\"name\": {\"name\": \"usb\"}}",
                             "{\"name\": \"nobody\"}", "{\"x\": \"name\", \"y\": [\"usb\"]}"}) {
        setDefaultMetadata(PipeWireKey::alertSink, note);
        settle();
        EXPECT_EQ(alertUID(), "desk") << note;
    }
    // What people write by hand.
    for (const char* note : {"{ x: { name: desk }, y: [ 1 ], name: usb }", "{\"name\":\"usb\"} trailing"}) {
        setDefaultMetadata(PipeWireKey::alertSink, note);
        EXPECT_TRUE(runUntil([&] { return alertUID() == "usb"; })) << note;
    }
    client->setDefaultSystemOutputDevice(id("desk"));
}

TEST_F(SystemOutputTests, AlertsThatPlayMoveToTheirOutputAndBack) {
    const auto music = play("Music");
    auto alert = play("Notification");
    const auto alertPlaysTo = [&](const std::string& name) {
        return runUntil([&] { return isPlayedTo(name); });
    };
    ASSERT_TRUE(alertPlaysTo("desk"));
    client->setDefaultSystemOutputDevice(id("blue"));
    EXPECT_TRUE(alertPlaysTo("blue")) << "an alert that plays already";
    alert.reset();
    EXPECT_TRUE(runUntil([&] { return !isPlayedTo("blue"); }));
    alert = play("Notification");
    EXPECT_TRUE(alertPlaysTo("blue")) << "an alert that begins later";
    EXPECT_TRUE(isPlayedTo("desk")) << "music stays";

    client->setDefaultSystemOutputDevice(id("usb"));
    EXPECT_TRUE(alertPlaysTo("usb"));
    EXPECT_TRUE(runUntil([&] { return !isPlayedTo("blue"); }));
    client->setDefaultSystemOutputDevice(id("desk"));
    EXPECT_TRUE(runUntil([&] { return !isPlayedTo("usb"); }));
}

TEST_F(SystemOutputTests, NoAlertGoesWhereAnEarlierChoiceSentOne) {
    const auto beginsOn = [&](const std::string& name) {
        return lab->waitUntil([&] { return isPlayedTo(name); });
    };
    auto alert = play("Notification");
    ASSERT_TRUE(beginsOn("desk"));
    client->setDefaultSystemOutputDevice(id("blue"));
    ASSERT_TRUE(beginsOn("blue"));
    alert.reset();
    ASSERT_TRUE(lab->waitUntil([&] { return !isPlayedTo("blue"); }));
    client->setDefaultSystemOutputDevice(id("desk"));
    stopClient();
    // The session manager remembers where streams of a kind were sent, but not what we did.
    alert = play("Notification");
    ASSERT_TRUE(lab->waitUntil([&] { return isPlayedTo("desk") || isPlayedTo("blue"); }));
    EXPECT_TRUE(isPlayedTo("desk"));
    startClient();
}

TEST_F(SystemOutputTests, ARateIsForcedForTheTimeOfAnAggregate) {
    setSetting(PipeWireKey::forcedRate, "32000");
    ASSERT_TRUE(runUntil([&] { return client->nominalSampleRate(id("desk")) == 32000; }));
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    client->setNominalSampleRate(aggregate, 96000);
    EXPECT_EQ(client->nominalSampleRate(id("blue")), 96000) << "the whole graph runs at one rate";
    client->setNominalSampleRate(id("usb"), 44100);
    EXPECT_TRUE(becomesForced("44100"));
    client->destroyAggregateDevice(aggregate);
    EXPECT_EQ(client->nominalSampleRate(id("desk")), 32000);
    EXPECT_TRUE(becomesForced("32000"));

    for (const double rate :
         {0.0, -48000.0, 7999.0, 200'000.0, 44100.5, 1e300, double(NAN), double(INFINITY)})
        EXPECT_EQ(statusThrown([&] { client->setNominalSampleRate(id("desk"), rate); }),
                  kAudioDeviceUnsupportedFormatError)
            << rate;
    EXPECT_EQ(client->nominalSampleRate(id("desk")), 32000);
    setSetting(PipeWireKey::forcedRate, "0");
    EXPECT_TRUE(runUntil([&] { return client->nominalSampleRate(id("desk")) == 48000; }));
}

TEST_F(SystemOutputTests, ARateThatAKilledRunForcedIsPutBack) {
    client->setNominalSampleRate(id("desk"), 96000); // and then killed, before there was an aggregate
    ASSERT_TRUE(lab->waitUntil([&] { return ourNotes().size() == 1; }));
    stopClient();
    startClient();
    EXPECT_EQ(client->nominalSampleRate(id("desk")), 48000);
    EXPECT_TRUE(leavesNoNotes());
}

TEST_F(SystemOutputTests, WhatIsKnownOfTheOutputsStaysWhileItIsAskedForAgain) {
    int answered = 0;
    std::vector<bool> wasKnown;
    {
        const SoundLab::Lock lock(*lab);
        PipeWireGraph& graph = lab->graph();
        const auto look = [&] {
            ++answered;
            wasKnown.push_back(graph.defaultMetadata()->name(PipeWireKey::defaultSink).has_value());
        };
        graph.refreshDefaultMetadata([&, look] {
            look();
            graph.refreshDefaultMetadata(look); // answered after the one below
        });
        graph.refreshDefaultMetadata(look);
    }
    ASSERT_TRUE(lab->waitUntil([&] { return answered == 3; }));
    EXPECT_THAT(wasKnown, ElementsAre(true, true, true));
}

TEST_F(SystemOutputTests, WithoutASessionManagerNobodyAnswersForTheOutputs) {
    ASSERT_TRUE(client->settle()); // that is not asked anything now
    server.killSessionManager();
    const auto defaultStatus = [&] { return statusThrown([&] { client->defaultOutputDeviceID(); }); };
    ASSERT_TRUE(runUntil([&] { return defaultStatus() == kAudioHardwareNotRunningError; }));
    EXPECT_EQ(statusThrown([&] { client->defaultSystemOutputDeviceID(); }), kAudioHardwareNotRunningError);
    EXPECT_THAT(deviceUIDs(), ElementsAre("desk", "usb", "blue"));
    const ContinuousInstant before = loop.continuousNow();
    EXPECT_EQ(statusThrown([&] { client->setDefaultOutputDevice(id("usb")); }),
              kAudioHardwareNotRunningError);
    EXPECT_EQ(statusThrown([&] { client->setDefaultSystemOutputDevice(id("usb")); }),
              kAudioHardwareNotRunningError);
    client->setNominalSampleRate(id("desk"), 96000); // for the aggregate
    EXPECT_EQ(statusThrown([&] { createAggregate({"desk", "usb"}); }), kAudioHardwareNotRunningError);
    EXPECT_TRUE(runUntil([&] { return client->nominalSampleRate(id("desk")) == 48000; }));
    EXPECT_LT(loop.continuousNow() - before, std::chrono::seconds(1));

    server.startSessionManager();
    EXPECT_TRUE(runUntil([&] { return defaultStatus() == noErr && defaultUID() == "desk"; }));
    client->setDefaultOutputDevice(id("usb"));
    EXPECT_EQ(defaultUID(), "usb");
    client->setDefaultOutputDevice(id("desk"));
}

} // namespace
} // namespace velto
