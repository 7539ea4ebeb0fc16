// Every operation with each of its HAL calls failing in turn: the status reaches the caller, the log names
// the operation, and the fixture finds nothing leaked and no listener left.
#include "Tests/HAL/HALTest.h"

#include <functional>

namespace velto {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr AudioObjectID device = 42;

struct Operation {
    const char* name;
    /// Runs it; true when it answered, false when it answered absence.
    std::function<bool(SystemCoreAudioClient&)> run;
    /// What the log calls each of its HAL calls, in order.
    std::vector<std::string> labels;
    /// Operations that never throw answer absence instead.
    bool isQuiet = false;
};

void PrintTo(const Operation& operation, std::ostream* stream) { *stream << operation.name; }

/// An operation that answers nothing, or throws.
auto run(auto operation) {
    return [operation](SystemCoreAudioClient& client) { return operation(client), true; };
}

AggregateDeviceDescription description() {
    return {.uid = "agg", .name = "Both", .subDevices = {{"a", false}, {"b", true}}, .mainSubDeviceUID = "a"};
}

using Client = SystemCoreAudioClient;

const std::vector<Operation> operations{
    {"allDeviceIDs",
     run([](Client& c) { c.allDeviceIDs(); }),
     {"GetPropertyDataSize 'dev#' (1684370979) on 1", "GetPropertyData 'dev#' (1684370979) on 1"}},
    {"deviceID", run([](Client& c) { c.deviceID("speaker"); }), {"TranslateUIDToDevice speaker"}},
    {"deviceUID",
     run([](Client& c) { c.deviceUID(device); }),
     {"GetPropertyData(CFString) 'uid ' (1969841184) on 42"}},
    {"deviceName",
     run([](Client& c) { c.deviceName(device); }),
     {"GetPropertyData(CFString) 'lnam' (1819173229) on 42"}},
    {"transportType",
     run([](Client& c) { c.transportType(device); }),
     {"GetPropertyData 'tran' (1953653102) on 42"}},
    {"deviceManufacturer",
     [](Client& c) { return c.deviceManufacturer(device).has_value(); },
     {"GetPropertyData(CFString) 'lmak' (1819107691) on 42"},
     true},
    {"outputLatencyFrames",
     [](Client& c) { return c.outputLatencyFrames(device).has_value(); },
     {"GetPropertyData 'ltnc' (1819569763) on 42"},
     true},
    {"outputSafetyOffsetFrames",
     [](Client& c) { return c.outputSafetyOffsetFrames(device).has_value(); },
     {"GetPropertyData 'saft' (1935763060) on 42"},
     true},
    {"outputChannelCount",
     run([](Client& c) { c.outputChannelCount(device); }),
     {"GetPropertyDataSize 'slay' (1936482681) on 42", "GetPropertyData StreamConfiguration on 42"}},
    {"isAlive",
     [](Client& c) { return c.isAlive(device); },
     {"GetPropertyData 'livn' (1818850926) on 42"},
     true},
    {"isHidden",
     [](Client& c) { return c.isHidden(device); },
     {"GetPropertyData 'hidn' (1751737454) on 42"},
     true},
    {"isRunningSomewhere",
     [](Client& c) { return c.isRunningSomewhere(device); },
     {"GetPropertyData 'gone' (1735356005) on 42"},
     true},
    {"nominalSampleRate",
     run([](Client& c) { c.nominalSampleRate(device); }),
     {"GetPropertyData 'nsrt' (1853059700) on 42"}},
    {"availableSampleRates",
     run([](Client& c) { c.availableSampleRates(device); }),
     {"GetPropertyDataSize 'nsr#' (1853059619) on 42", "GetPropertyData 'nsr#' (1853059619) on 42"}},
    {"setNominalSampleRate",
     run([](Client& c) { c.setNominalSampleRate(device, 48000); }),
     {"SetPropertyData 'nsrt' (1853059700) on 42"}},
    {"defaultOutputDeviceID",
     run([](Client& c) { c.defaultOutputDeviceID(); }),
     {"GetPropertyData 'dOut' (1682929012) on 1"}},
    {"setDefaultOutputDevice",
     run([](Client& c) { c.setDefaultOutputDevice(device); }),
     {"SetPropertyData 'dOut' (1682929012) on 1"}},
    {"defaultSystemOutputDeviceID",
     run([](Client& c) { c.defaultSystemOutputDeviceID(); }),
     {"GetPropertyData 'sOut' (1934587252) on 1"}},
    {"setDefaultSystemOutputDevice",
     run([](Client& c) { c.setDefaultSystemOutputDevice(device); }),
     {"SetPropertyData 'sOut' (1934587252) on 1"}},
    {"createAggregateDevice",
     run([](Client& c) { c.createAggregateDevice(description()); }),
     {"AudioHardwareCreateAggregateDevice agg"}},
    {"destroyAggregateDevice",
     run([](Client& c) { c.destroyAggregateDevice(device); }),
     {"AudioHardwareDestroyAggregateDevice 42"}},
    {"aggregateComposition",
     run([](Client& c) { c.aggregateComposition(device); }),
     {"GetPropertyData(CFDictionary) 'acom' (1633906541) on 42"}},
    {"aggregateFullSubDeviceUIDs",
     run([](Client& c) { c.aggregateFullSubDeviceUIDs(device); }),
     {"GetPropertyData(CFArray) 'grup' (1735554416) on 42"}},
    {"aggregateActiveSubDeviceIDs",
     run([](Client& c) { c.aggregateActiveSubDeviceIDs(device); }),
     {"GetPropertyDataSize 'agrp' (1634169456) on 42", "GetPropertyData 'agrp' (1634169456) on 42"}},
    {"aggregateMainSubDeviceUID",
     run([](Client& c) { c.aggregateMainSubDeviceUID(device); }),
     {"GetPropertyData(CFString) 'amst' (1634562932) on 42"}},
    {"subDeviceDriftCompensation",
     run([](Client& c) { c.subDeviceDriftCompensation(device); }),
     {"GetPropertyData 'drft' (1685218932) on 42"}},
    {"setSubDeviceDriftCompensation",
     run([](Client& c) { c.setSubDeviceDriftCompensation(device, true); }),
     {"SetPropertyData 'drft' (1685218932) on 42"}},
    {"outputVolume",
     run([](Client& c) { c.outputVolume(device); }),
     {"GetPropertyData 'volm' (1987013741) on 42", "GetPropertyData 'volm' (1987013741) on 42"}},
    {"setOutputVolume",
     run([](Client& c) { c.setOutputVolume(device, 0.5f); }),
     {"SetPropertyData 'volm' (1987013741) on 42", "SetPropertyData 'volm' (1987013741) on 42"}},
    {"outputMute",
     run([](Client& c) { c.outputMute(device); }),
     {"GetPropertyData 'mute' (1836414053) on 42"}},
    {"setOutputMute",
     run([](Client& c) { c.setOutputMute(device, true); }),
     {"SetPropertyData 'mute' (1836414053) on 42"}},
    {"addOutputVolumeListener",
     run([](Client& c) { c.removePropertyListener(c.addOutputVolumeListener(device, [] {})); }),
     {"AddPropertyListenerBlock 'volm' (1987013741) on 42"}},
    {"addOutputMuteListener",
     run([](Client& c) { c.removePropertyListener(c.addOutputMuteListener(device, [] {})); }),
     {"AddPropertyListenerBlock 'mute' (1836414053) on 42"}},
    {"addPropertyListener",
     run([](Client& c) {
         c.removePropertyListener(c.addPropertyListener(1, kAudioHardwarePropertyServiceRestarted,
                                                        kAudioObjectPropertyScopeGlobal, [] {}));
     }),
     {"AddPropertyListenerBlock 'srst' (1936880500) on 1"}},
};

class FaultSweepTest : public HALTest, public ::testing::WithParamInterface<Operation> {
  protected:
    void SetUp() override {
        for (const auto selector :
             {kAudioHardwarePropertyDefaultOutputDevice, kAudioHardwarePropertyDefaultSystemOutputDevice,
              kAudioHardwarePropertyDevices})
            hal.set(systemObject, global(selector), device);
        for (const auto selector :
             {kAudioDevicePropertyTransportType, kAudioDevicePropertyDeviceIsAlive,
              kAudioDevicePropertyIsHidden, kAudioDevicePropertyDeviceIsRunningSomewhere,
              kAudioAggregateDevicePropertyActiveSubDeviceList, kAudioSubDevicePropertyDriftCompensation})
            hal.set(device, global(selector), UInt32{1});
        for (const auto selector :
             {kAudioDevicePropertyDeviceUID, kAudioObjectPropertyName, kAudioObjectPropertyManufacturer,
              kAudioAggregateDevicePropertyMainSubDevice})
            hal.setObject(device, global(selector), fake::string("text"));
        hal.set(device, output(kAudioDevicePropertyLatency), UInt32{1});
        hal.set(device, output(kAudioDevicePropertySafetyOffset), UInt32{1});
        hal.set(device, output(kAudioDevicePropertyMute), UInt32{1});
        hal.set(device, output(kAudioDevicePropertyVolumeScalar, 1), 1.0f);
        hal.set(device, output(kAudioDevicePropertyVolumeScalar, 2), 1.0f);
        hal.set(device, output(kAudioDevicePropertyStreamConfiguration), std::vector<UInt32>(6));
        hal.set(device, global(kAudioDevicePropertyNominalSampleRate), 48000.0);
        hal.set(device, global(kAudioDevicePropertyAvailableNominalSampleRates),
                std::vector{48000.0, 48000.0});
        hal.setObject(device, global(kAudioAggregateDevicePropertyComposition),
                      fake::dictionary({{fake::string("uid"), fake::string("agg")}}));
        hal.setObject(device, global(kAudioAggregateDevicePropertyFullSubDeviceList),
                      fake::array({fake::string("a")}));
    }
};

TEST_P(FaultSweepTest, EachFailedCallReachesTheCallerAndTheLog) {
    const auto& [name, run, labels, isQuiet] = GetParam();
    for (std::size_t call = 0; call < labels.size(); ++call) {
        log.clear();
        hal.fail(call, kAudioHardwareNotReadyError);
        bool answered = true;
        const OSStatus status = statusThrown([&] { answered = run(client); });
        EXPECT_EQ(status, isQuiet ? noErr : kAudioHardwareNotReadyError);
        EXPECT_EQ(answered, !isQuiet);
        EXPECT_THAT(log, ElementsAre(labels[call] + " failed: Audio hardware is not ready"));
        EXPECT_THAT(hal.listeners, IsEmpty());
    }
    log.clear();
    const std::size_t before = hal.calls.size();
    EXPECT_TRUE(run(client)); // no state survives a failure
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(std::ranges::count(hal.calls.begin() + static_cast<std::ptrdiff_t>(before), hal.calls.end(),
                                 "RemovePropertyListenerBlock") +
                  static_cast<std::ptrdiff_t>(labels.size()),
              static_cast<std::ptrdiff_t>(hal.calls.size() - before)); // no call was left out above
}

INSTANTIATE_TEST_SUITE_P(, FaultSweepTest, ::testing::ValuesIn(operations),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace

} // namespace velto
