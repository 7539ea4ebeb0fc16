// CoreAudioClientContract: a test on a client of some audio system, which finds at least one output there.
//
// Puts back what it changed: the outputs of the system, and what was left of an aggregate.
#pragma once

#include "Tests/Contract/CoreAudioClientUnderTest.h"
#include "Tests/Support/StatusThrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

inline void PrintTo(const CoreAudioClientMaker& maker, std::ostream* stream) { *stream << maker.name; }

class CoreAudioClientContract : public testing::TestWithParam<CoreAudioClientMaker> {
  protected:
    static constexpr const char* aggregateUID = "com.corlent.velto.contract";

    void SetUp() override {
        removeAggregate(); // of a run that was killed
        defaultBefore = client.defaultOutputDeviceID();
        alertBefore = client.defaultSystemOutputDeviceID();
        for (const AudioObjectID device : client.allDeviceIDs()) {
            const std::uint32_t transport = client.transportType(device);
            if (outputs.size() < 2 && client.outputChannelCount(device) > 0 && client.isAlive(device) &&
                !client.isHidden(device) && transport != kAudioDeviceTransportTypeAggregate &&
                transport != kAudioDeviceTransportTypeAirPlay)
                outputs.push_back(client.deviceUID(device));
        }
        ASSERT_FALSE(outputs.empty()) << "a machine without an output";
    }
    void TearDown() override {
        for (const auto& token : tokens)
            client.removePropertyListener(token);
        chooseOutputs(defaultBefore, alertBefore);
        removeAggregate();
        EXPECT_EQ(client.defaultOutputDeviceID(), defaultBefore);
        EXPECT_EQ(client.defaultSystemOutputDeviceID(), alertBefore);
    }

    bool runUntil(const std::function<bool()>& condition) { return underTest->runUntil(condition); }
    /// Notes calls by name. A call that is on its way when its listener is removed may come after the test.
    PropertyListenerHandler note(std::string name) const {
        return [calls = calls, name = std::move(name)] { calls->push_back(name); };
    }
    bool isTold(std::string_view name) const { return std::ranges::count(*calls, name) > 0; }
    bool becomesTold(std::string_view name) {
        return runUntil([&] { return isTold(name); });
    }
    PropertyListenerTokenRef listen(AudioObjectPropertySelector selector, PropertyListenerHandler handler) {
        return client.addPropertyListener(kAudioObjectSystemObject, selector, kAudioObjectPropertyScopeGlobal,
                                          std::move(handler));
    }

    AggregateDeviceDescription description() const {
        AggregateDeviceDescription result{.uid = aggregateUID,
                                          .name = "Contract Test",
                                          .subDevices = {},
                                          .mainSubDeviceUID = outputs.front()};
        for (const std::string& uid : outputs)
            result.subDevices.push_back({uid, uid != outputs.front()});
        return result;
    }
    /// Returns when it is alive and has its outputs.
    AudioObjectID createAggregate() {
        const AudioObjectID aggregate = client.createAggregateDevice(description());
        EXPECT_TRUE(runUntil([&] {
            return client.isAlive(aggregate) &&
                   client.aggregateActiveSubDeviceIDs(aggregate).size() == outputs.size();
        }));
        return aggregate;
    }
    void removeAggregate() {
        if (const auto aggregate = client.deviceID(aggregateUID))
            statusThrown([&] { client.destroyAggregateDevice(*aggregate); }); // it may be going already
        EXPECT_TRUE(runUntil([&] { return !client.deviceID(aggregateUID); }));
    }
    void chooseOutputs(AudioObjectID output, AudioObjectID alertOutput) {
        if (client.defaultOutputDeviceID() != output) client.setDefaultOutputDevice(output);
        if (client.defaultSystemOutputDeviceID() != alertOutput)
            client.setDefaultSystemOutputDevice(alertOutput);
        EXPECT_TRUE(runUntil([&] {
            return client.defaultOutputDeviceID() == output &&
                   client.defaultSystemOutputDeviceID() == alertOutput;
        }));
    }
    std::vector<std::string> uidsOf(const std::vector<AudioObjectID>& devices) {
        std::vector<std::string> result;
        for (const AudioObjectID device : devices)
            result.push_back(client.deviceUID(device));
        return result;
    }
    /// The first device for which that holds.
    template <class Question>
    std::optional<AudioObjectID> deviceThat(const Question& question) {
        for (const AudioObjectID device : client.allDeviceIDs())
            if (question(device)) return device;
        return std::nullopt;
    }

    const std::unique_ptr<CoreAudioClientUnderTest> underTest = GetParam().make();
    CoreAudioClient& client = underTest->client();
    /// UIDs of one or two that an aggregate can have.
    std::vector<std::string> outputs;
    /// Of listeners that stay until the end of the test.
    std::vector<PropertyListenerTokenRef> tokens;
    const std::shared_ptr<std::vector<std::string>> calls = std::make_shared<std::vector<std::string>>();
    AudioObjectID defaultBefore = kAudioObjectUnknown;
    AudioObjectID alertBefore = kAudioObjectUnknown;
};

} // namespace velto
