// The program that delays, on a real server, judged by what the outputs were heard to play.
#include "Platform/Linux/Delay/DelayNames.h"
#include "Platform/Linux/PipeWire/PipeWireDelayHelper.h"
#include "Tests/PipeWire/RealServer.h"
#include "Tools/SoundLab/OutputRecorder.h"

#include <signal.h>

#include <algorithm>
#include <cmath>

namespace velto {
namespace {

class DelayTests : public RealServer {
  protected:
    /// "desk" hears the aggregate itself, "usb" through the helper.
    void startHelper(double milliseconds) {
        if (id(aggregateUID) == kAudioObjectUnknown)
            client->setDefaultOutputDevice(createAggregate({"desk"}));
        helper.emplace(loop, loop, server.socket(), aggregateUID,
                       PipeWireDelayHelper::Outputs{{"usb", milliseconds}},
                       [this](const std::string& why) { whyEnded = why; });
        const std::string node = DelayNames::node(aggregateUID);
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const std::string name = DelayNames::channels[channel];
            link(aggregateUID, "monitor_" + name, node, DelayNames::input(name));
            link(node, DelayNames::output(0, name), "usb", "playback_" + name);
        }
    }
    /// Asks until the link is there: the helper's ports take a moment.
    void link(const std::string& from, const std::string& output, const std::string& to,
              const std::string& input) {
        int known = -1;
        pw_proxy* proxy = nullptr;
        ASSERT_TRUE(runUntil([&] {
            const SoundLab::Lock lock(*lab);
            const auto links = static_cast<int>(lab->graph().links().size());
            if (known >= 0 && links > known) return true;
            known = links;
            if (proxy) pw_proxy_destroy(proxy);
            proxy = requestLink(from, output, to, input);
            return false;
        }));
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

    std::optional<PipeWireDelayHelper> helper;
    std::string whyEnded;
    std::optional<OutputRecorder> recorder;
};

TEST_F(DelayTests, AnOutputIsHeardLaterByItsDelay) {
    startHelper(12.4);
    recorder.emplace(*lab, std::vector<std::string>{"desk", "usb"}, OutputRecorder::GraphClock::dummyDriver);
    const auto music = play();
    ASSERT_TRUE(runUntil([&] { return recorder->frames() > 48000; }));
    recorder->stop();
    const auto desk = recorder->samples("desk"), usb = recorder->samples("usb");
    std::size_t n = 48000 * 2, d = 0;
    for (d = 0; d < 10000; d += 2)
        if (std::equal(usb.begin() + n - 2000, usb.begin() + n, desk.begin() + n - 2000 - d)) break;
    EXPECT_EQ(d, 595u * 2);
    recorder.reset();
    kill(helper->process(), SIGKILL);
    EXPECT_TRUE(runUntil([&] { return !whyEnded.empty(); }));
    EXPECT_EQ(whyEnded, "It was ended by signal 9");
    client->setDefaultOutputDevice(id("desk"));
    client->destroyAggregateDevice(id(aggregateUID));
}

} // namespace
} // namespace velto
