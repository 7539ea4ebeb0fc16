// What every client of an audio system does, so that all that is written against one works with each of them.
#include "Tests/Contract/CoreAudioClientContract.h"

#include <gmock/gmock.h>

#include <cmath>
#include <optional>
#include <set>
#include <utility>

namespace velto {

namespace {

using testing::Contains;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

class CoreAudioClientContractTests : public CoreAudioClientContract {};

TEST_P(CoreAudioClientContractTests, EveryDeviceSaysWhatItIs) {
    const auto devices = client.allDeviceIDs();
    std::set<std::string> uids;
    for (const AudioObjectID device : devices) {
        const std::string uid = client.deviceUID(device);
        EXPECT_TRUE(!uid.empty() && uids.insert(uid).second) << uid;
        EXPECT_EQ(client.deviceID(uid), device) << uid;
        EXPECT_FALSE(client.deviceName(device).empty()) << uid;
        EXPECT_GE(client.outputChannelCount(device), 0) << uid;
        EXPECT_GT(client.nominalSampleRate(device), 0) << uid;
        for (const SampleRateRange& range : client.availableSampleRates(device))
            EXPECT_TRUE(range.lowerBound > 0 && range.lowerBound <= range.upperBound) << uid;
        EXPECT_GE(client.outputLatencyFrames(device).value_or(0), 0) << uid;
        EXPECT_GE(client.outputSafetyOffsetFrames(device).value_or(0), 0) << uid;
    }
    for (const AudioObjectID output : {defaultBefore, alertBefore}) {
        EXPECT_THAT(devices, Contains(output));
        EXPECT_GT(client.outputChannelCount(output), 0);
        EXPECT_TRUE(client.isAlive(output));
    }
    for (const std::string& uid :
         {std::string("nobody's"), std::string(), std::string("\xFF"), std::string(9999, 'x')})
        EXPECT_EQ(client.deviceID(uid), std::nullopt) << uid;
}

TEST_P(CoreAudioClientContractTests, AnUnknownObjectThrowsOrAnswersAsAbsent) {
    for (const AudioObjectID device : {kAudioObjectUnknown, AudioObjectID{4'000'000'000}}) {
        int number = 0;
        const auto expectThrow = [&](const auto& operation) {
            EXPECT_GT(std::abs(statusThrown(operation)), 1) << device << ", operation " << number;
            ++number;
        };
        expectThrow([&] { client.deviceUID(device); });
        expectThrow([&] { client.deviceName(device); });
        expectThrow([&] { client.nominalSampleRate(device); });
        expectThrow([&] { client.availableSampleRates(device); });
        expectThrow([&] { client.setNominalSampleRate(device, 48000); });
        expectThrow([&] { client.aggregateComposition(device); });
        expectThrow([&] { client.aggregateFullSubDeviceUIDs(device); });
        expectThrow([&] { client.aggregateActiveSubDeviceIDs(device); });
        expectThrow([&] { client.aggregateMainSubDeviceUID(device); });
        expectThrow([&] { client.subDeviceDriftCompensation(device); });
        expectThrow([&] { client.setSubDeviceDriftCompensation(device, true); });
        expectThrow([&] { client.outputVolume(device); });
        expectThrow([&] { client.setOutputVolume(device, 1); });
        expectThrow([&] { client.outputMute(device); });
        expectThrow([&] { client.setOutputMute(device, true); });
        expectThrow([&] { client.destroyAggregateDevice(device); });
        expectThrow([&] {
            client.addPropertyListener(device, kAudioDevicePropertyDeviceIsAlive,
                                       kAudioObjectPropertyScopeGlobal, [] {});
        });
        // A client may say of it what it says of a device that doesn't say.
        std::int64_t told = 0;
        statusThrown([&] { told += client.transportType(device); });
        statusThrown([&] { told += client.outputChannelCount(device); });
        EXPECT_EQ(told, 0);
        EXPECT_EQ(client.deviceManufacturer(device), std::nullopt);
        EXPECT_EQ(client.outputLatencyFrames(device), std::nullopt);
        EXPECT_EQ(client.outputSafetyOffsetFrames(device), std::nullopt);
        EXPECT_FALSE(client.isAlive(device) || client.isHidden(device) || client.isRunningSomewhere(device) ||
                     client.supportsOutputVolume(device) || client.supportsOutputMute(device) ||
                     client.supportsSubDeviceDriftCompensation(device));
        EXPECT_EQ(client.addOutputVolumeListener(device, [] {}), nullptr);
        EXPECT_EQ(client.addOutputMuteListener(device, [] {}), nullptr);
    }
}

TEST_P(CoreAudioClientContractTests, AnAggregateIsWhatItWasAskedToBeUntilItIsDestroyed) {
    const AudioObjectID aggregate = createAggregate();
    EXPECT_EQ(client.deviceID(aggregateUID), aggregate);
    EXPECT_THAT(client.allDeviceIDs(), Contains(aggregate));
    EXPECT_EQ(client.deviceUID(aggregate), aggregateUID);
    EXPECT_EQ(client.deviceName(aggregate), "Contract Test");
    EXPECT_EQ(client.transportType(aggregate), kAudioDeviceTransportTypeAggregate);
    EXPECT_GT(client.outputChannelCount(aggregate), 0);
    EXPECT_THAT(client.aggregateFullSubDeviceUIDs(aggregate), ElementsAreArray(outputs));
    EXPECT_THAT(uidsOf(client.aggregateActiveSubDeviceIDs(aggregate)), ElementsAreArray(outputs));
    EXPECT_EQ(client.aggregateMainSubDeviceUID(aggregate), outputs.front());

    const CompositionDictionary composition = client.aggregateComposition(aggregate);
    const auto text = [](const CompositionDictionary& dictionary, std::string_view key) {
        const auto found = dictionary.find(std::string(key));
        const auto* value = found == dictionary.end() ? nullptr : found->second.as<std::string>();
        return value ? *value : "";
    };
    EXPECT_EQ(text(composition, CompositionKey::uid), aggregateUID);
    ASSERT_TRUE(composition.contains(std::string(CompositionKey::subDevices)));
    std::vector<std::string> members;
    for (const CompositionValue& member :
         *composition.at(std::string(CompositionKey::subDevices)).as<CompositionArray>())
        members.push_back(text(*member.as<CompositionDictionary>(), CompositionKey::uid));
    EXPECT_THAT(members, ElementsAreArray(outputs));

    EXPECT_EQ(statusThrown([&] { client.createAggregateDevice(description()); }),
              kAudioHardwareIllegalOperationError);
    EXPECT_EQ(client.deviceID(aggregateUID), aggregate) << "the first one is untouched";
    client.setNominalSampleRate(aggregate, client.nominalSampleRate(aggregate));

    client.destroyAggregateDevice(aggregate);
    EXPECT_TRUE(runUntil([&] { return !client.deviceID(aggregateUID) && !client.isAlive(aggregate); }));
    EXPECT_THAT(client.allDeviceIDs(), Not(Contains(aggregate)));
    EXPECT_NE(statusThrown([&] { client.deviceName(aggregate); }), noErr);
    EXPECT_NE(statusThrown([&] { client.destroyAggregateDevice(aggregate); }), noErr);
    EXPECT_NE(createAggregate(), aggregate) << "an object ID is never used again";
}

TEST_P(CoreAudioClientContractTests, DriftCompensationIsSetWhereItIsSupported) {
    const AudioObjectID aggregate = createAggregate();
    for (const AudioObjectID subDevice : client.aggregateActiveSubDeviceIDs(aggregate)) {
        if (!client.supportsSubDeviceDriftCompensation(subDevice)) {
            EXPECT_NE(statusThrown([&] { client.subDeviceDriftCompensation(subDevice); }), noErr);
            continue;
        }
        const bool wanted = client.deviceUID(subDevice) != outputs.front();
        EXPECT_TRUE(runUntil([&] { return client.subDeviceDriftCompensation(subDevice) == wanted; }));
        for (const bool changed : {!wanted, wanted}) {
            client.setSubDeviceDriftCompensation(subDevice, changed);
            EXPECT_TRUE(runUntil([&] { return client.subDeviceDriftCompensation(subDevice) == changed; }));
        }
    }
}

TEST_P(CoreAudioClientContractTests, OutputsOfAnAggregateAreDelayedWhereThatCanBe) {
    const AudioObjectID aggregate = createAggregate();
    const std::map<std::string, double> delays{{outputs.front(), 12.4}, {"elsewhere", 5}};
    const OSStatus onAggregate =
        client.supportsOutputDelays() ? noErr : kAudioHardwareUnsupportedOperationError;
    EXPECT_EQ(statusThrown([&] { client.setOutputDelays(aggregate, delays); }), onAggregate);
    EXPECT_EQ(statusThrown([&] { client.setOutputDelays(aggregate, {}); }), onAggregate);
    const auto play = [&](AudioObjectID device, const std::string& falling) {
        return statusThrown([&] { client.playSweeps(device, outputs.front(), falling, 0.1); });
    };
    EXPECT_EQ(play(aggregate, outputs.back()), onAggregate);
    client.endSweeps(aggregate);
    const AudioObjectID output = client.deviceID(outputs.front()).value();
    const OSStatus elsewhere = client.supportsOutputDelays() ? kAudioHardwareBadDeviceError
                                                             : kAudioHardwareUnsupportedOperationError;
    EXPECT_EQ(statusThrown([&] { client.setOutputDelays(output, delays); }), elsewhere);
    EXPECT_EQ(play(aggregate, "elsewhere"), elsewhere);
    EXPECT_EQ(play(output, outputs.back()), elsewhere);
    EXPECT_THAT(uidsOf(client.aggregateActiveSubDeviceIDs(aggregate)), ElementsAreArray(outputs));
}

TEST_P(CoreAudioClientContractTests, AnAggregateCanBeBothOutputsOfTheSystem) {
    tokens = {listen(kAudioHardwarePropertyDefaultOutputDevice, note("default")),
              listen(kAudioHardwarePropertyDefaultSystemOutputDevice, note("alert"))};
    const AudioObjectID aggregate = createAggregate();
    chooseOutputs(aggregate, alertBefore);
    chooseOutputs(defaultBefore, aggregate);
    chooseOutputs(aggregate, aggregate);
    EXPECT_TRUE(becomesTold("default") && becomesTold("alert"));
    calls->clear();
    chooseOutputs(defaultBefore, alertBefore);
    EXPECT_TRUE(becomesTold("default"));

    chooseOutputs(aggregate, aggregate);
    client.destroyAggregateDevice(aggregate);
    EXPECT_TRUE(runUntil([&] {
        const AudioObjectID output = client.defaultOutputDeviceID();
        return output != aggregate && client.isAlive(output) &&
               client.defaultSystemOutputDeviceID() != aggregate;
    })) << "an output that is gone is replaced";
}

TEST_P(CoreAudioClientContractTests, ListenersAreToldInALaterTurnUntilTheyAreRemoved) {
    const auto onDevices = [&](PropertyListenerHandler handler) {
        return listen(kAudioHardwarePropertyDevices, std::move(handler));
    };
    PropertyListenerTokenRef self;
    self = onDevices([&] {
        calls->emplace_back("self");
        client.removePropertyListener(std::exchange(self, nullptr));
        tokens.push_back(onDevices(note("added")));
    });
    const auto removed = onDevices(note("removed"));
    auto dropped = onDevices(note("dropped"));
    const auto receipt = std::make_shared<PropertyListenerToken>(dropped->objectID, dropped->address,
                                                                 dropped->queue, dropped->block);
    dropped.reset(); // unregisters nothing
    tokens.push_back(onDevices(note("last")));
    client.removePropertyListener(removed);

    createAggregate();
    EXPECT_TRUE(becomesTold("self") && becomesTold("dropped") && becomesTold("last"));
    client.removePropertyListener(receipt);
    removeAggregate();
    calls->clear();
    client.createAggregateDevice(description());
    EXPECT_THAT(*calls, IsEmpty()) << "never within a call";
    EXPECT_TRUE(becomesTold("added") && becomesTold("last"));
    EXPECT_THAT(*calls, Not(Contains("self")));
    EXPECT_THAT(*calls, Not(Contains("dropped")));
    EXPECT_THAT(*calls, Not(Contains("removed")));
    client.removePropertyListener(removed); // a failure, which is only logged
    client.removePropertyListener(nullptr);
}

TEST_P(CoreAudioClientContractTests, WithoutAControlVolumeAndMuteAreRefused) {
    createAggregate();
    for (const AudioObjectID device : client.allDeviceIDs()) {
        if (client.supportsOutputVolume(device)) {
            EXPECT_TRUE(client.outputVolume(device) >= 0 && client.outputVolume(device) <= 1);
        } else {
            EXPECT_EQ(statusThrown([&] { client.outputVolume(device); }),
                      kAudioHardwareUnsupportedOperationError);
            EXPECT_EQ(statusThrown([&] { client.setOutputVolume(device, 0); }),
                      kAudioHardwareUnsupportedOperationError);
            EXPECT_EQ(client.addOutputVolumeListener(device, [] {}), nullptr);
        }
        if (client.supportsOutputMute(device)) continue;
        EXPECT_EQ(statusThrown([&] { client.outputMute(device); }), kAudioHardwareUnsupportedOperationError);
        EXPECT_EQ(statusThrown([&] { client.setOutputMute(device, true); }),
                  kAudioHardwareUnsupportedOperationError);
        EXPECT_EQ(client.addOutputMuteListener(device, [] {}), nullptr);
    }
}

TEST_P(CoreAudioClientContractTests, VolumeAndMuteAreSetAndTold) {
    if (const auto device = deviceThat([&](auto id) { return client.supportsOutputMute(id); })) {
        const bool before = client.outputMute(*device);
        tokens.push_back(client.addOutputMuteListener(*device, note("mute")));
        for (const bool isMuted : {!before, before}) {
            calls->clear();
            client.setOutputMute(*device, isMuted);
            EXPECT_TRUE(becomesTold("mute"));
            EXPECT_TRUE(runUntil([&] { return client.outputMute(*device) == isMuted; }));
        }
        client.removePropertyListener(tokens.back());
        tokens.pop_back();
    }
    if (const auto device = deviceThat([&](auto id) { return client.supportsOutputVolume(id); })) {
        const float before = client.outputVolume(*device);
        tokens.push_back(client.addOutputVolumeListener(*device, note("volume")));
        const float other = before / 2 + 0.1F;
        // Not a number counts as silence.
        for (const auto& [set, expected] : {std::pair(other, other), std::pair(-0.5F, 0.0F),
                                            std::pair(other, other), std::pair(std::nanf(""), 0.0F)}) {
            calls->clear();
            client.setOutputVolume(*device, set);
            const auto isThere = [&] { return std::abs(client.outputVolume(*device) - expected) < 0.05F; };
            EXPECT_TRUE(becomesTold("volume") && runUntil(isThere)) << set;
        }
        client.setOutputVolume(*device, before);
        EXPECT_TRUE(runUntil([&] { return std::abs(client.outputVolume(*device) - before) < 0.05F; }));
    }
}

INSTANTIATE_TEST_SUITE_P(, CoreAudioClientContractTests, testing::ValuesIn(coreAudioClientsUnderTest()),
                         [](const auto& info) { return info.param.name; });

} // namespace
} // namespace velto
