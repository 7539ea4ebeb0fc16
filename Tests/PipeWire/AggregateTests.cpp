#include "Tests/PipeWire/RealServer.h"

#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"
#include "VeltoCore/Services/LoggingService.h"

#include <signal.h>

namespace velto {
namespace {

using testing::ElementsAre;

class AggregateTests : public RealServer {
  protected:
    std::vector<std::string> active(AudioObjectID aggregate) {
        std::vector<std::string> result;
        for (const AudioObjectID device : client->aggregateActiveSubDeviceIDs(aggregate))
            result.push_back(client->deviceUID(device));
        return result;
    }
};

TEST_F(AggregateTests, IsLinkedWhenCreateReturnsAndGoneWhenDestroyReturns) {
    const AggregateDeviceDescription wanted = description({"desk", "usb", "blue"});
    const AudioObjectID aggregate = client->createAggregateDevice(wanted);
    EXPECT_EQ(client->outputChannelCount(aggregate), 2);
    EXPECT_FALSE(client->isHidden(aggregate));
    EXPECT_THAT(active(aggregate), ElementsAre("desk", "usb", "blue"));
    EXPECT_EQ(client->aggregateComposition(aggregate), wanted.dictionaryRepresentation());
    for (const char* output : {"desk", "usb", "blue"})
        EXPECT_TRUE(lab->waitUntil([&] { return lab->linkCount(aggregateUID, output) == 2; })) << output;
    client->destroyAggregateDevice(aggregate);
    EXPECT_EQ(id(aggregateUID), kAudioObjectUnknown);
    EXPECT_EQ(statusThrown([&] { client->destroyAggregateDevice(id("desk")); }),
              kAudioHardwareBadObjectError);
}

TEST_F(AggregateTests, DriftCompensationIsRememberedPerOutput) {
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    client->setSubDeviceDriftCompensation(id("usb"), false);
    client->setSubDeviceDriftCompensation(id("desk"), true);
    const auto expectSwapped = [&](const char* when) {
        EXPECT_TRUE(client->subDeviceDriftCompensation(id("desk"))) << when;
        EXPECT_FALSE(client->subDeviceDriftCompensation(id("usb"))) << when;
        const auto composition = client->aggregateComposition(aggregate);
        const auto& outputs = *composition.at(std::string(CompositionKey::subDevices)).as<CompositionArray>();
        const auto drift = [&](std::size_t i) {
            return outputs.at(i).as<CompositionDictionary>()->at(
                std::string(CompositionKey::driftCompensation));
        };
        EXPECT_TRUE(drift(0).isNonZeroNumber()) << when;
        EXPECT_FALSE(drift(1).isNonZeroNumber()) << when;
    };
    expectSwapped("after the change");
    unplug("usb");
    plug(usual("usb"));
    expectSwapped("after a replug");
    client->destroyAggregateDevice(aggregate);
}

TEST_F(AggregateTests, AnOutputThatReturnsIsHiddenUntilItIsLinked) {
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    unplug("usb");
    EXPECT_THAT(active(aggregate), ElementsAre("desk"));
    EXPECT_THAT(client->aggregateFullSubDeviceUIDs(aggregate), ElementsAre("desk", "usb"));

    int returns = 0;
    listen(kAudioObjectSystemObject, kAudioHardwarePropertyDevices, [&] {
        const auto uids = deviceUIDs();
        const bool isListed = std::ranges::find(uids, "usb") != uids.end();
        EXPECT_EQ(isListed, id("usb") != kAudioObjectUnknown);
        if (!isListed) return;
        ++returns;
        EXPECT_THAT(active(aggregate), ElementsAre("desk", "usb")) << "there but silent";
    });
    for (int i = 1; i <= 10; ++i) {
        lab->plug(usual("usb"));
        ASSERT_TRUE(runUntil([&] { return returns == i; }));
        unplug("usb");
    }
    stopListening();
    client->destroyAggregateDevice(aggregate);
}

TEST_F(AggregateTests, ALinkThatSomebodyRemovesIsMadeAgain) {
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    ASSERT_TRUE(lab->waitUntil([&] { return lab->linkCount(aggregateUID, "usb") == 2; }));
    {
        const SoundLab::Lock lock(*lab);
        pw_registry* registry = pw_core_get_registry(lab->core(), PW_VERSION_REGISTRY, 0);
        for (const auto& [link, ends] : lab->graph().links())
            if (ends.inputNode == lab->graph().device("usb")->globalID()) pw_registry_destroy(registry, link);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    }
    ASSERT_TRUE(lab->waitUntil([&] { return lab->linkCount(aggregateUID, "usb") == 0; }));
    EXPECT_TRUE(runUntil([&] { return lab->linkCount(aggregateUID, "usb") == 2; }));
    EXPECT_TRUE(runUntil([&] { return client->aggregateActiveSubDeviceIDs(aggregate).size() == 2; }));
    client->destroyAggregateDevice(aggregate);
}

/// What the client under test may do with the server's factory of links.
class LinkPermission {
  public:
    explicit LinkPermission(SoundLab& lab) : lab_(lab) {
        const SoundLab::Lock lock(lab_);
        registry_ = pw_core_get_registry(lab.core(), PW_VERSION_REGISTRY, 0);
        events_.version = PW_VERSION_REGISTRY_EVENTS;
        events_.global = [](void* data, uint32_t id, uint32_t, const char* type, uint32_t,
                            const spa_dict* dictionary) {
            static_cast<LinkPermission*>(data)->add(id, type, dictionary);
        };
        pw_registry_add_listener(registry_, &hook_, &events_, this);
    }
    LinkPermission(const LinkPermission&) = delete;
    LinkPermission& operator=(const LinkPermission&) = delete;
    ~LinkPermission() {
        const SoundLab::Lock lock(lab_);
        spa_hook_remove(&hook_);
        if (client_) pw_proxy_destroy(reinterpret_cast<pw_proxy*>(client_));
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
    }
    bool isKnown() const {
        const SoundLab::Lock lock(lab_);
        return factory_ != SPA_ID_INVALID && client_;
    }
    void set(uint32_t permission) {
        const SoundLab::Lock lock(lab_);
        const pw_permission one = PW_PERMISSION_INIT(factory_, permission);
        pw_client_update_permissions(client_, 1, &one);
    }

  private:
    void add(uint32_t id, std::string_view type, const spa_dict* dictionary) {
        PipeWireProperties properties;
        mergeProperties(properties, dictionary);
        if (type == PW_TYPE_INTERFACE_Factory && property(properties, PW_KEY_FACTORY_NAME) == "link-factory")
            factory_ = id;
        // The lab is a client of this process, too.
        const uint32_t lab =
            pw_proxy_get_bound_id(reinterpret_cast<pw_proxy*>(pw_core_get_client(lab_.core())));
        if (type == PW_TYPE_INTERFACE_Client && id != lab &&
            numberProperty(properties, PW_KEY_SEC_PID) == static_cast<uint32_t>(getpid()))
            client_ = static_cast<pw_client*>(
                pw_registry_bind(registry_, id, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, 0));
    }

    SoundLab& lab_;
    pw_registry* registry_ = nullptr;
    pw_registry_events events_{};
    spa_hook hook_{};
    uint32_t factory_ = SPA_ID_INVALID;
    pw_client* client_ = nullptr;
};

TEST_F(AggregateTests, ALinkThatTheServerRefusesIsToldAndAskedForAgain) {
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    unplug("usb");
    LinkPermission permission(*lab);
    ASSERT_TRUE(runUntil([&] { return permission.isKnown(); }));
    permission.set(0);
    lab->plug(usual("usb"));
    EXPECT_TRUE(runUntil([&] { return log.count("The sound server refused a link") > 0; }));
    EXPECT_TRUE(runUntil([&] { return id("usb") != kAudioObjectUnknown; })) << "it is not hidden for ever";
    EXPECT_THAT(active(aggregate), ElementsAre("desk"));
    permission.set(PW_PERM_ALL); // of which the client need not take notice
    EXPECT_TRUE(runUntil([&] { return active(aggregate).size() == 2; }));
    client->destroyAggregateDevice(aggregate);
}

/// Does something in the very moment in which the log says something.
class WhenLogged final : public LogSink {
  public:
    WhenLogged(std::string text, std::function<void()> then)
        : text_(std::move(text)), then_(std::move(then)), previous_(LoggingService::install(this)) {}
    WhenLogged(const WhenLogged&) = delete;
    WhenLogged& operator=(const WhenLogged&) = delete;
    ~WhenLogged() override { LoggingService::install(previous_); }
    bool isEnabled(LogLevel level) const noexcept override { return previous_->isEnabled(level); }
    void write(const LogMessage& message) override {
        previous_->write(message);
        if (message.text().find(text_) != std::string::npos) then_();
    }

  private:
    std::string text_;
    std::function<void()> then_;
    LogSink* previous_;
};

TEST_F(AggregateTests, ALinkThatIsRefusedWhileTheAggregateIsMadeIsAskedForAgain) {
    constexpr const char* refused = "The sound server refused a link";
    LinkPermission permission(*lab);
    ASSERT_TRUE(runUntil([&] { return permission.isKnown(); }));
    permission.set(0);
    {
        // Not before all of the aggregate has come, so that nothing else is a reason to ask again.
        const ContinuousInstant allowed = loop.continuousNow() + std::chrono::milliseconds(40);
        const WhenLogged allow(refused, [&] {
            if (loop.continuousNow() > allowed) permission.set(PW_PERM_ALL);
        });
        AudioObjectID aggregate = kAudioObjectUnknown;
        ASSERT_EQ(statusThrown([&] { aggregate = createAggregate({"desk", "usb"}); }), noErr);
        EXPECT_THAT(active(aggregate), ElementsAre("desk", "usb"));
        client->destroyAggregateDevice(aggregate);
    }
    // For good: it says so in time, having asked a few times, and leaves nothing.
    log.clear();
    permission.set(0);
    EXPECT_EQ(statusThrown([&] { createAggregate({"desk", "usb"}); }), kAudioHardwareNotReadyError);
    EXPECT_LT(log.count(refused), 100u) << "it asks without a pause";
    EXPECT_EQ(log.count("did not build the aggregate: it refuses links"), 1u);
    EXPECT_EQ(id(aggregateUID), kAudioObjectUnknown);
    EXPECT_TRUE(lab->waitUntil([&] { return !lab->exists(aggregateUID); }));
    permission.set(PW_PERM_ALL);
}

TEST_F(AggregateTests, EveryLayoutOfChannelsGetsSound) {
    struct Layout {
        const char* positions;
        int links;
    };
    // A mono output gets the sum; of more than two channels the front pair plays.
    for (const Layout& layout :
         {Layout{"[ MONO ]", 2}, Layout{"[ FL FR FC LFE RL RR ]", 2}, Layout{"[ AUX0 AUX1 AUX2 AUX3 ]", 2},
          Layout{"[ FR FL ]", 2}, Layout{"[ AUX0 ]", 2}, Layout{"[ FC ]", 2}, Layout{"[ RL RR ]", 2}}) {
        plug({"other", "Other", {{"audio.position", layout.positions}}});
        const AudioObjectID aggregate = createAggregate({"desk", "other"});
        EXPECT_THAT(active(aggregate), ElementsAre("desk", "other")) << layout.positions;
        EXPECT_TRUE(lab->waitUntil([&] { return lab->linkCount(aggregateUID, "other") >= layout.links; }));
        EXPECT_EQ(lab->linkCount(aggregateUID, "other"), layout.links) << layout.positions;
        client->destroyAggregateDevice(aggregate);
        unplug("other");
    }
}

TEST_F(AggregateTests, OutputsThatComeAndGoWhileItIsMadeDoNoHarm) {
    for (int i = 0; i < 10; ++i) {
        // Asked for, but not yet done when the aggregate is: the server does one thing after the other.
        {
            const SoundLab::Lock lock(*lab);
            pw_registry* registry = pw_core_get_registry(lab->core(), PW_VERSION_REGISTRY, 0);
            pw_registry_destroy(registry, lab->graph().device("usb")->globalID());
            pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
        }
        const AudioObjectID aggregate = createAggregate({"desk", "usb"});
        EXPECT_TRUE(runUntil([&] { return id("usb") == kAudioObjectUnknown; }));
        EXPECT_THAT(active(aggregate), ElementsAre("desk"));
        plug(usual("usb"));
        EXPECT_THAT(active(aggregate), ElementsAre("desk", "usb"));
        client->destroyAggregateDevice(aggregate);
    }
}

TEST_F(AggregateTests, FailsInTimeAndLeavesNothingWhenTheServerHangs) {
    // Without the session manager nothing gets ports: the server says so, and takes back what it began.
    for (const auto& [hanging, status] :
         {std::pair(server.daemonID(), kAudioHardwareNotRunningError),
          std::pair(server.sessionManagerID(), kAudioHardwareNotReadyError)}) {
        ASSERT_EQ(kill(hanging, SIGSTOP), 0);
        const ContinuousInstant before = loop.continuousNow();
        EXPECT_EQ(statusThrown([&] { createAggregate({"desk", "usb"}); }), status);
        EXPECT_LT(loop.continuousNow() - before, pipeWireDeadline + std::chrono::milliseconds(100));
        EXPECT_TRUE(client->isServiceThere());
        ASSERT_EQ(kill(hanging, SIGCONT), 0);
        settle();
        plug(VirtualOutput::usb("after", "After")); // all that was asked before is done by now
        unplug("after");
        EXPECT_EQ(id(aggregateUID), kAudioObjectUnknown);
        EXPECT_TRUE(lab->waitUntil([&] { return !lab->exists(aggregateUID); }));
        const AudioObjectID aggregate = createAggregate({"desk", "usb"});
        EXPECT_THAT(active(aggregate), ElementsAre("desk", "usb"));
        client->destroyAggregateDevice(aggregate);
    }
}

} // namespace
} // namespace velto
