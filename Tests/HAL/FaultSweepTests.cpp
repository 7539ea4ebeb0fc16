// Every operation with each of its HAL calls failing in turn: the status reaches the caller and the log, and
// the fixture finds nothing leaked and no listener left.
#include "Tests/HAL/HALTest.h"

#include <functional>

namespace velto {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr AudioObjectID device = 42;

struct Operation {
    const char* name;
    /// Runs it; true when it answered, false when it answered absence.
    std::function<bool(SystemCoreAudioClient&)> run;
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
    {"allDeviceIDs", run([](Client& c) { c.allDeviceIDs(); })},
    {"deviceID", run([](Client& c) { c.deviceID("speaker"); })},
    {"deviceUID", run([](Client& c) { c.deviceUID(device); })},
    {"deviceName", run([](Client& c) { c.deviceName(device); })},
    {"transportType", run([](Client& c) { c.transportType(device); })},
    {"deviceManufacturer", [](Client& c) { return c.deviceManufacturer(device).has_value(); }, true},
    {"outputLatencyFrames", [](Client& c) { return c.outputLatencyFrames(device).has_value(); }, true},
    {"outputSafetyOffsetFrames", [](Client& c) { return c.outputSafetyOffsetFrames(device).has_value(); },
     true},
    {"outputChannelCount", run([](Client& c) { c.outputChannelCount(device); })},
    {"isAlive", [](Client& c) { return c.isAlive(device); }, true},
    {"isHidden", [](Client& c) { return c.isHidden(device); }, true},
    {"isRunningSomewhere", [](Client& c) { return c.isRunningSomewhere(device); }, true},
    {"nominalSampleRate", run([](Client& c) { c.nominalSampleRate(device); })},
    {"availableSampleRates", run([](Client& c) { c.availableSampleRates(device); })},
    {"setNominalSampleRate", run([](Client& c) { c.setNominalSampleRate(device, 48000); })},
    {"defaultOutputDeviceID", run([](Client& c) { c.defaultOutputDeviceID(); })},
    {"setDefaultOutputDevice", run([](Client& c) { c.setDefaultOutputDevice(device); })},
    {"defaultSystemOutputDeviceID", run([](Client& c) { c.defaultSystemOutputDeviceID(); })},
    {"setDefaultSystemOutputDevice", run([](Client& c) { c.setDefaultSystemOutputDevice(device); })},
    {"createAggregateDevice", run([](Client& c) { c.createAggregateDevice(description()); })},
    {"destroyAggregateDevice", run([](Client& c) { c.destroyAggregateDevice(device); })},
    {"aggregateComposition", run([](Client& c) { c.aggregateComposition(device); })},
    {"aggregateFullSubDeviceUIDs", run([](Client& c) { c.aggregateFullSubDeviceUIDs(device); })},
    {"aggregateActiveSubDeviceIDs", run([](Client& c) { c.aggregateActiveSubDeviceIDs(device); })},
    {"aggregateMainSubDeviceUID", run([](Client& c) { c.aggregateMainSubDeviceUID(device); })},
    {"subDeviceDriftCompensation", run([](Client& c) { c.subDeviceDriftCompensation(device); })},
    {"setSubDeviceDriftCompensation", run([](Client& c) { c.setSubDeviceDriftCompensation(device, true); })},
    {"outputVolume", run([](Client& c) { c.outputVolume(device); })},
    {"setOutputVolume", run([](Client& c) { c.setOutputVolume(device, 0.5f); })},
    {"outputMute", run([](Client& c) { c.outputMute(device); })},
    {"setOutputMute", run([](Client& c) { c.setOutputMute(device, true); })},
    {"addOutputVolumeListener",
     run([](Client& c) { c.removePropertyListener(c.addOutputVolumeListener(device, [] {})); })},
    {"addOutputMuteListener",
     run([](Client& c) { c.removePropertyListener(c.addOutputMuteListener(device, [] {})); })},
    {"addPropertyListener", run([](Client& c) {
         c.removePropertyListener(c.addPropertyListener(1, kAudioHardwarePropertyServiceRestarted,
                                                        kAudioObjectPropertyScopeGlobal, [] {}));
     })},
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
    const auto& [name, run, isQuiet] = GetParam();
    EXPECT_TRUE(run(client));
    const auto removals = std::ranges::count(hal.calls, "RemovePropertyListenerBlock");
    const std::size_t callCount = hal.calls.size() - static_cast<std::size_t>(removals);
    EXPECT_GT(callCount, 0U);
    for (std::size_t call = 0; call < callCount; ++call) {
        log.clear();
        hal.fail(call, kAudioHardwareNotReadyError);
        bool answered = true;
        const OSStatus status = statusThrown([&] { answered = run(client); });
        EXPECT_EQ(status, isQuiet ? noErr : kAudioHardwareNotReadyError);
        EXPECT_EQ(answered, !isQuiet);
        EXPECT_THAT(log, ElementsAre(HasSubstr(" failed: Audio hardware is not ready")));
        EXPECT_THAT(hal.listeners, IsEmpty());
    }
    log.clear();
    EXPECT_TRUE(run(client)) << "no state survives a failure";
    EXPECT_THAT(log, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(, FaultSweepTest, ::testing::ValuesIn(operations),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace

} // namespace velto
