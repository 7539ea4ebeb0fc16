// The client of the HAL under the contract of all clients, over a fake HAL that does what the platform
// documents: an aggregate is alive a moment after it was made, and what was written is told in a later turn.
#include "Tests/Contract/CoreAudioClientUnderTest.h"
#include "Tests/HAL/FakeHAL.h"
#include "VeltoCore/CoreAudio/SystemCoreAudioClient.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <utility>

namespace velto {

namespace {

using Address = AudioObjectPropertyAddress;

constexpr Address global(AudioObjectPropertySelector selector) {
    return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}
constexpr Address output(AudioObjectPropertySelector selector) {
    return {selector, kAudioObjectPropertyScopeOutput, kAudioObjectPropertyElementMain};
}

CFTypeRef entry(CFDictionaryRef dictionary, std::string_view key) {
    std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dictionary)));
    std::vector<const void*> values(keys.size());
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    for (std::size_t i = 0; i < keys.size(); ++i)
        if (fake::text(keys[i]) == key) return values[i];
    return nullptr;
}

class HALClientUnderTest final : public CoreAudioClientUnderTest {
  public:
    HALClientUnderTest() {
        hal_.refusesUnknownObjects = true;
        hal_.onCreate = [this](CFDictionaryRef description, AudioObjectID id) {
            return create(description, id);
        };
        hal_.onDestroy = [this](AudioObjectID id) { return destroy(id); };
        hal_.onWrite = [this](AudioObjectID object, Address address) { hal_.notify(object, {address}); };
        addDevice(40, "speakers", kAudioDeviceTransportTypeBuiltIn, 2);
        addDevice(41, "microphone", kAudioDeviceTransportTypeBuiltIn, 0);
        addDevice(42, "interface", kAudioDeviceTransportTypeUSB, 2);
        hal_.set(40, output(kAudioHardwareServiceDeviceProperty_VirtualMainVolume), 0.8F);
        hal_.set(40, output(kAudioDevicePropertyMute), UInt32{0});
        for (const auto selector : outputSelectors)
            hal_.set(kAudioObjectSystemObject, global(selector), AudioObjectID{40});
        publishDevices();
    }
    ~HALClientUnderTest() override {
        hal_.drainMainQueue();
        EXPECT_THAT(hal_.listeners, testing::IsEmpty());
        hal_.release();
        EXPECT_EQ(hal_.liveBlocks(), 0U);
        EXPECT_THAT(hal_.faults, testing::IsEmpty());
        EXPECT_THAT(fake::liveObjects(), testing::IsEmpty());
        EXPECT_THAT(fake::coreFoundationFaults(), testing::IsEmpty());
        fake::resetCoreFoundation();
    }

    CoreAudioClient& client() override { return client_; }
    bool runUntil(const std::function<bool()>& condition) override {
        if (condition()) return true;
        hal_.drainMainQueue();
        for (const AudioObjectID device : std::exchange(beginning_, {}))
            if (hal_.hasObject(device))
                hal_.set(device, global(kAudioDevicePropertyDeviceIsAlive), UInt32{1});
        return condition();
    }

  private:
    static constexpr std::array outputSelectors{kAudioHardwarePropertyDefaultOutputDevice,
                                                kAudioHardwarePropertyDefaultSystemOutputDevice};

    void addDevice(AudioObjectID id, const std::string& uid, AudioDeviceTransportType transport,
                   UInt32 channels) {
        hal_.setObject(id, global(kAudioDevicePropertyDeviceUID), fake::string(uid));
        hal_.setObject(id, global(kAudioObjectPropertyName), fake::string("The " + uid));
        hal_.set(id, global(kAudioDevicePropertyTransportType), transport);
        hal_.set(id, output(kAudioDevicePropertyStreamConfiguration),
                 std::vector<UInt32>{1, 0, channels, 0, 0, 0});
        hal_.set(id, global(kAudioDevicePropertyNominalSampleRate), 48000.0);
        hal_.set(id, global(kAudioDevicePropertyAvailableNominalSampleRates), std::vector{48000.0, 48000.0});
        hal_.set(id, global(kAudioDevicePropertyDeviceIsAlive), UInt32{1});
        hal_.devicesByUID[uid] = id;
    }

    void publishDevices() {
        std::vector<AudioObjectID> devices;
        for (const auto& [uid, id] : hal_.devicesByUID)
            devices.push_back(id);
        hal_.set(kAudioObjectSystemObject, global(kAudioHardwarePropertyDevices), devices);
        hal_.notify(kAudioObjectSystemObject, {global(kAudioHardwarePropertyDevices)});
    }

    OSStatus create(CFDictionaryRef description, AudioObjectID id) {
        const std::string uid = fake::text(entry(description, "uid"));
        if (hal_.devicesByUID.contains(uid)) return kAudioHardwareIllegalOperationError;
        const auto members = static_cast<CFArrayRef>(entry(description, "subdevices"));
        std::vector<CFTypeRef> uids;
        std::vector<AudioObjectID> subDevices;
        for (CFIndex i = 0; i < CFArrayGetCount(members); ++i) {
            const auto member = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(members, i));
            const std::string memberUID = fake::text(entry(member, "uid"));
            std::int64_t drift = 0;
            CFNumberGetValue(static_cast<CFNumberRef>(entry(member, "drift")), kCFNumberSInt64Type, &drift);
            const AudioObjectID subDevice = id + 1 + static_cast<AudioObjectID>(i);
            hal_.setObject(subDevice, global(kAudioDevicePropertyDeviceUID), fake::string(memberUID));
            hal_.set(subDevice, global(kAudioSubDevicePropertyDriftCompensation), static_cast<UInt32>(drift));
            uids.push_back(fake::string(memberUID));
            subDevices.push_back(subDevice);
        }
        addDevice(id, uid, kAudioDeviceTransportTypeAggregate, 2);
        hal_.setObject(id, global(kAudioObjectPropertyName),
                       fake::string(fake::text(entry(description, "name"))));
        CFRetain(description);
        hal_.setObject(id, global(kAudioAggregateDevicePropertyComposition), description);
        hal_.setObject(id, global(kAudioAggregateDevicePropertyFullSubDeviceList),
                       fake::array(std::move(uids)));
        hal_.set(id, global(kAudioAggregateDevicePropertyActiveSubDeviceList), subDevices);
        hal_.setObject(id, global(kAudioAggregateDevicePropertyMainSubDevice),
                       fake::string(fake::text(entry(description, "master"))));
        hal_.set(id, global(kAudioDevicePropertyDeviceIsAlive), UInt32{0});
        beginning_.push_back(id);
        hal_.nextAggregateID += 10;
        publishDevices();
        return noErr;
    }

    OSStatus destroy(AudioObjectID id) {
        if (std::erase_if(hal_.devicesByUID,
                          [&](const auto& device) { return device.second == id && id >= 100; }) == 0)
            return kAudioHardwareBadObjectError;
        for (AudioObjectID object = id; object < id + 10; ++object)
            hal_.removeObject(object);
        for (const auto selector : outputSelectors) {
            if (hal_.value<AudioObjectID>(kAudioObjectSystemObject, global(selector)) != id) continue;
            hal_.set(kAudioObjectSystemObject, global(selector), AudioObjectID{40});
            hal_.notify(kAudioObjectSystemObject, {global(selector)});
        }
        publishDevices();
        return noErr;
    }

    fake::FakeHAL hal_;
    SystemCoreAudioClient client_;
    /// Aggregates that were made, and are not yet alive.
    std::vector<AudioObjectID> beginning_;
};

} // namespace

std::vector<CoreAudioClientMaker> coreAudioClientsUnderTest() {
    return {{"HAL", [] { return std::make_unique<HALClientUnderTest>(); }}};
}

} // namespace velto
