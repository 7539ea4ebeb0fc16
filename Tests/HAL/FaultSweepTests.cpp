// Every operation with each of its HAL calls failing in turn: the status reaches the caller, the log names
// the operation, and the fixture finds nothing leaked and no listener left.
#include "Tests/HAL/HALTest.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"

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

/// What the log calls a HAL call for that property.
std::string call(const std::string& function, std::string_view selector, AudioObjectID object = device) {
    std::uint32_t code = 0;
    for (const char character : selector)
        code = (code << 8) | static_cast<unsigned char>(character);
    return function + ' ' + fourCharCodeDescription(code) + " on " + std::to_string(object);
}

const std::vector<Operation> operations{
    {"allDeviceIDs",
     run([](Client& c) { c.allDeviceIDs(); }),
     {call("GetPropertyDataSize", "dev#", 1), call("GetPropertyData", "dev#", 1)}},
    {"deviceID", run([](Client& c) { c.deviceID("speaker"); }), {"TranslateUIDToDevice speaker"}},
    {"deviceUID", run([](Client& c) { c.deviceUID(device); }), {call("GetPropertyData(CFString)", "uid ")}},
    {"deviceName", run([](Client& c) { c.deviceName(device); }), {call("GetPropertyData(CFString)", "lnam")}},
    {"transportType", run([](Client& c) { c.transportType(device); }), {call("GetPropertyData", "tran")}},
    {"deviceManufacturer",
     [](Client& c) { return c.deviceManufacturer(device).has_value(); },
     {call("GetPropertyData(CFString)", "lmak")},
     true},
    {"outputLatencyFrames",
     [](Client& c) { return c.outputLatencyFrames(device).has_value(); },
     {call("GetPropertyData", "ltnc")},
     true},
    {"outputSafetyOffsetFrames",
     [](Client& c) { return c.outputSafetyOffsetFrames(device).has_value(); },
     {call("GetPropertyData", "saft")},
     true},
    {"outputChannelCount",
     run([](Client& c) { c.outputChannelCount(device); }),
     {call("GetPropertyDataSize", "slay"), "GetPropertyData StreamConfiguration on 42"}},
    {"isAlive", [](Client& c) { return c.isAlive(device); }, {call("GetPropertyData", "livn")}, true},
    {"isHidden", [](Client& c) { return c.isHidden(device); }, {call("GetPropertyData", "hidn")}, true},
    {"isRunningSomewhere",
     [](Client& c) { return c.isRunningSomewhere(device); },
     {call("GetPropertyData", "gone")},
     true},
    {"nominalSampleRate",
     run([](Client& c) { c.nominalSampleRate(device); }),
     {call("GetPropertyData", "nsrt")}},
    {"availableSampleRates",
     run([](Client& c) { c.availableSampleRates(device); }),
     {call("GetPropertyDataSize", "nsr#"), call("GetPropertyData", "nsr#")}},
    {"setNominalSampleRate",
     run([](Client& c) { c.setNominalSampleRate(device, 48000); }),
     {call("SetPropertyData", "nsrt")}},
    {"defaultOutputDeviceID",
     run([](Client& c) { c.defaultOutputDeviceID(); }),
     {call("GetPropertyData", "dOut", 1)}},
    {"setDefaultOutputDevice",
     run([](Client& c) { c.setDefaultOutputDevice(device); }),
     {call("SetPropertyData", "dOut", 1)}},
    {"defaultSystemOutputDeviceID",
     run([](Client& c) { c.defaultSystemOutputDeviceID(); }),
     {call("GetPropertyData", "sOut", 1)}},
    {"setDefaultSystemOutputDevice",
     run([](Client& c) { c.setDefaultSystemOutputDevice(device); }),
     {call("SetPropertyData", "sOut", 1)}},
    {"createAggregateDevice",
     run([](Client& c) { c.createAggregateDevice(description()); }),
     {"AudioHardwareCreateAggregateDevice agg"}},
    {"destroyAggregateDevice",
     run([](Client& c) { c.destroyAggregateDevice(device); }),
     {"AudioHardwareDestroyAggregateDevice 42"}},
    {"aggregateComposition",
     run([](Client& c) { c.aggregateComposition(device); }),
     {call("GetPropertyData(CFDictionary)", "acom")}},
    {"aggregateFullSubDeviceUIDs",
     run([](Client& c) { c.aggregateFullSubDeviceUIDs(device); }),
     {call("GetPropertyData(CFArray)", "grup")}},
    {"aggregateActiveSubDeviceIDs",
     run([](Client& c) { c.aggregateActiveSubDeviceIDs(device); }),
     {call("GetPropertyDataSize", "agrp"), call("GetPropertyData", "agrp")}},
    {"aggregateMainSubDeviceUID",
     run([](Client& c) { c.aggregateMainSubDeviceUID(device); }),
     {call("GetPropertyData(CFString)", "amst")}},
    {"subDeviceDriftCompensation",
     run([](Client& c) { c.subDeviceDriftCompensation(device); }),
     {call("GetPropertyData", "drft")}},
    {"setSubDeviceDriftCompensation",
     run([](Client& c) { c.setSubDeviceDriftCompensation(device, true); }),
     {call("SetPropertyData", "drft")}},
    {"outputVolume",
     run([](Client& c) { c.outputVolume(device); }),
     {call("GetPropertyData", "volm"), call("GetPropertyData", "volm")}},
    {"setOutputVolume",
     run([](Client& c) { c.setOutputVolume(device, 0.5f); }),
     {call("SetPropertyData", "volm"), call("SetPropertyData", "volm")}},
    {"outputMute", run([](Client& c) { c.outputMute(device); }), {call("GetPropertyData", "mute")}},
    {"setOutputMute",
     run([](Client& c) { c.setOutputMute(device, true); }),
     {call("SetPropertyData", "mute")}},
    {"addOutputVolumeListener",
     run([](Client& c) { c.removePropertyListener(c.addOutputVolumeListener(device, [] {})); }),
     {call("AddPropertyListenerBlock", "volm")}},
    {"addOutputMuteListener",
     run([](Client& c) { c.removePropertyListener(c.addOutputMuteListener(device, [] {})); }),
     {call("AddPropertyListenerBlock", "mute")}},
    {"addPropertyListener",
     run([](Client& c) {
         c.removePropertyListener(c.addPropertyListener(1, kAudioHardwarePropertyServiceRestarted,
                                                        kAudioObjectPropertyScopeGlobal, [] {}));
     }),
     {call("AddPropertyListenerBlock", "srst", 1)}},
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
