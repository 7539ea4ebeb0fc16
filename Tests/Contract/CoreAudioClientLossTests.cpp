// What every client does when an output, or the audio service itself, goes and comes back: what playing
// together is about. On a machine that is somebody's own nothing is pulled.
#include "Tests/Contract/CoreAudioClientContract.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Not;

class CoreAudioClientLossTests : public CoreAudioClientContract {
  protected:
    void SetUp() override {
        CoreAudioClientContract::SetUp();
        ASSERT_TRUE(bench);
        ASSERT_EQ(outputs.size(), 2u);
    }
    bool isThere(const std::string& uid) { return client.deviceID(uid).has_value(); }
    /// The outputs of the system have other IDs when they were away.
    void lookAgain(const std::string& defaultUID) {
        ASSERT_TRUE(runUntil([&] { return isThere(defaultUID); }));
        defaultBefore = alertBefore = client.deviceID(defaultUID).value();
    }

    Workbench* const bench = underTest->workbench();
};

TEST_P(CoreAudioClientLossTests, AnOutputThatGoesLeavesItsAggregateAndJoinsItAgainByItself) {
    const bool isFirstDefault = client.deviceUID(defaultBefore) == outputs.front();
    const std::string gone = isFirstDefault ? outputs.back() : outputs.front();
    const std::string other = isFirstDefault ? outputs.front() : outputs.back();
    const AudioObjectID aggregate = createAggregate();
    const AudioObjectID before = client.deviceID(gone).value();
    tokens.push_back(listen(kAudioHardwarePropertyDevices, note("devices")));
    for (int round = 0; round < 2; ++round) {
        calls->clear();
        bench->unplug(gone);
        EXPECT_TRUE(becomesTold("devices"));
        EXPECT_TRUE(runUntil([&] { return !isThere(gone); }));
        EXPECT_FALSE(client.isAlive(before));
        EXPECT_NE(statusThrown([&] { client.deviceName(before); }), noErr);
        EXPECT_TRUE(client.isAlive(aggregate));
        EXPECT_THAT(uidsOf(client.aggregateActiveSubDeviceIDs(aggregate)), ElementsAre(other));
        EXPECT_THAT(client.aggregateFullSubDeviceUIDs(aggregate), ElementsAreArray(outputs));

        calls->clear();
        bench->replug(gone);
        EXPECT_TRUE(becomesTold("devices"));
        EXPECT_TRUE(runUntil([&] {
            return isThere(gone) && client.aggregateActiveSubDeviceIDs(aggregate).size() == outputs.size();
        }));
        EXPECT_THAT(uidsOf(client.aggregateActiveSubDeviceIDs(aggregate)), ElementsAreArray(outputs));
    }
}

TEST_P(CoreAudioClientLossTests, ADefaultOutputThatGoesIsReplaced) {
    const std::string gone = client.deviceUID(defaultBefore);
    tokens.push_back(listen(kAudioHardwarePropertyDefaultOutputDevice, note("default")));
    bench->unplug(gone);
    EXPECT_TRUE(becomesTold("default"));
    EXPECT_TRUE(runUntil([&] {
        const AudioObjectID replacement = client.defaultOutputDeviceID();
        return replacement != defaultBefore && client.isAlive(replacement);
    }));
    EXPECT_THAT(client.allDeviceIDs(), Contains(client.defaultSystemOutputDeviceID()));
    bench->replug(gone);
    lookAgain(gone);
}

TEST_P(CoreAudioClientLossTests, WithoutTheAudioServiceNothingIsAnsweredUntilItIsBack) {
    const std::string defaultUID = client.deviceUID(defaultBefore);
    const AudioObjectID aggregate = createAggregate();
    const AudioObjectID device = client.deviceID(outputs.front()).value();
    const Subscription loss = client.observeServiceLoss(note("loss"));
    const auto stayed = listen(kAudioHardwarePropertyServiceRestarted, note("restarted"));
    bench->stopService();
    EXPECT_TRUE(runUntil([&] { return !client.isAnswering(); }));
    EXPECT_TRUE(becomesTold("loss"));
    EXPECT_FALSE(client.isServiceThere());

    int number = 0;
    const auto expectNoAnswer = [&](const auto& operation) {
        EXPECT_EQ(statusThrown(operation), kAudioHardwareNotRunningError) << "operation " << number;
        ++number;
    };
    expectNoAnswer([&] { client.allDeviceIDs(); });
    expectNoAnswer([&] { client.deviceID(outputs.front()); });
    expectNoAnswer([&] { client.deviceUID(device); });
    expectNoAnswer([&] { client.deviceName(device); });
    expectNoAnswer([&] { client.transportType(device); });
    expectNoAnswer([&] { client.outputChannelCount(device); });
    expectNoAnswer([&] { client.nominalSampleRate(device); });
    expectNoAnswer([&] { client.availableSampleRates(device); });
    expectNoAnswer([&] { client.setNominalSampleRate(device, 48000); });
    expectNoAnswer([&] { client.defaultOutputDeviceID(); });
    expectNoAnswer([&] { client.setDefaultOutputDevice(device); });
    expectNoAnswer([&] { client.defaultSystemOutputDeviceID(); });
    expectNoAnswer([&] { client.setDefaultSystemOutputDevice(device); });
    expectNoAnswer([&] { client.createAggregateDevice(description()); });
    expectNoAnswer([&] { client.destroyAggregateDevice(aggregate); });
    expectNoAnswer([&] { client.aggregateComposition(aggregate); });
    expectNoAnswer([&] { client.aggregateFullSubDeviceUIDs(aggregate); });
    expectNoAnswer([&] { client.aggregateActiveSubDeviceIDs(aggregate); });
    expectNoAnswer([&] { client.aggregateMainSubDeviceUID(aggregate); });
    expectNoAnswer([&] { client.subDeviceDriftCompensation(device); });
    expectNoAnswer([&] { client.setSubDeviceDriftCompensation(device, true); });
    expectNoAnswer([&] { client.outputVolume(device); });
    expectNoAnswer([&] { client.setOutputVolume(device, 1); });
    expectNoAnswer([&] { client.outputMute(device); });
    expectNoAnswer([&] { client.setOutputMute(device, true); });
    if (client.supportsOutputDelays()) {
        expectNoAnswer([&] { client.setOutputDelays(aggregate, {}); });
        expectNoAnswer([&] { client.playSweeps(aggregate, outputs.front(), outputs.back(), 0.1); });
    }
    EXPECT_FALSE(client.isAlive(device) || client.isRunningSomewhere(device) ||
                 client.supportsOutputVolume(device) || client.supportsOutputMute(device));
    // Who begins while it is away hears of its return, too.
    const auto added = listen(kAudioHardwarePropertyServiceRestarted, note("begun meanwhile"));
    EXPECT_FALSE(isTold("restarted"));

    bench->startService();
    EXPECT_TRUE(becomesTold("restarted") && becomesTold("begun meanwhile"));
    EXPECT_TRUE(runUntil([&] { return client.isAnswering() && client.isServiceThere(); }));
    for (const std::string& uid : outputs)
        EXPECT_TRUE(runUntil([&] { return isThere(uid); })) << uid;
    EXPECT_FALSE(isThere(aggregateUID)) << "it went with the service";
    EXPECT_THAT(client.allDeviceIDs(), Not(Contains(device))) << "an object ID is never used again";
    for (const auto& token : {stayed, added})
        client.removePropertyListener(token);
    lookAgain(defaultUID);
    createAggregate();
}

TEST_P(CoreAudioClientLossTests, AServiceThatHangsIsReadFromWhatWasHeardAndChangesNothing) {
    const AudioObjectID aggregate = createAggregate();
    tokens.push_back(listen(kAudioHardwarePropertyServiceRestarted, note("restarted")));
    const auto loss = client.observeServiceLoss(note("loss"));
    bench->hangService();
    // The first one finds it out, the others know.
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(statusThrown([&] { client.setDefaultOutputDevice(aggregate); }),
                  kAudioHardwareNotRunningError);
        EXPECT_FALSE(client.isAnswering());
        EXPECT_TRUE(client.isServiceThere());
    }
    EXPECT_EQ(statusThrown([&] { client.destroyAggregateDevice(aggregate); }), kAudioHardwareNotRunningError);
    EXPECT_EQ(client.defaultOutputDeviceID(), defaultBefore);
    EXPECT_THAT(client.allDeviceIDs(), Contains(aggregate));
    EXPECT_EQ(client.deviceUID(aggregate), aggregateUID);
    EXPECT_THAT(client.aggregateFullSubDeviceUIDs(aggregate), ElementsAreArray(outputs));
    EXPECT_FALSE(isTold("restarted"));

    bench->resumeService();
    EXPECT_TRUE(becomesTold("restarted"));
    EXPECT_TRUE(client.isAnswering());
    EXPECT_FALSE(isTold("loss")) << "it was there all the time";
    removeAggregate(); // unless what was asked has been done late
}

std::vector<CoreAudioClientMaker> clientsWithWorkbench() {
    auto result = coreAudioClientsUnderTest();
    std::erase_if(result, [](const auto& maker) { return !maker.hasWorkbench; });
    return result;
}

INSTANTIATE_TEST_SUITE_P(, CoreAudioClientLossTests, testing::ValuesIn(clientsWithWorkbench()),
                         [](const auto& info) { return info.param.name; });

} // namespace
} // namespace velto
