#include "VeltoCore/CoreAudio/SystemCoreAudioClient.h"

#include "VeltoCore/CoreAudio/ClampedVolume.h"
#include "VeltoCore/CoreAudio/CoreAudioProperty.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/Services/LoggingService.h"

#include <Block.h>
#include <CoreAudio/CoreAudio.h>
#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace velto {

namespace {

using Address = AudioObjectPropertyAddress;
using Property = CoreAudioProperty;

Address globalAddress(AudioObjectPropertySelector selector) {
    return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}
Address outputAddress(AudioObjectPropertySelector selector,
                      AudioObjectPropertyElement element = kAudioObjectPropertyElementMain) {
    return {selector, kAudioObjectPropertyScopeOutput, element};
}

// Reads that answer absence

std::optional<std::int64_t> number(AudioObjectID objectID, const Address& address) noexcept {
    if (!Property::exists(objectID, address)) return std::nullopt;
    try {
        return Property::value<UInt32>(objectID, address);
    } catch (const AudioManagerError&) {
        return std::nullopt;
    }
}

/// Stricter than mute and drift, where any value but 0 counts: only exactly 1 is a yes.
bool isExactlyOne(AudioObjectID objectID, const Address& address) noexcept {
    return number(objectID, address) == 1;
}

// Volume and mute

/// Where the volume is: the main control that stands for all channels, alone, or else the controls of
/// channels 1 and 2 as far as there are any.
std::vector<Address> volumeAddresses(AudioObjectID device) {
    for (const auto selector :
         {kAudioHardwareServiceDeviceProperty_VirtualMainVolume, kAudioDevicePropertyVolumeScalar}) {
        if (Property::exists(device, outputAddress(selector))) return {outputAddress(selector)};
    }
    std::vector<Address> channels;
    for (const AudioObjectPropertyElement channel : {1u, 2u}) {
        const Address address = outputAddress(kAudioDevicePropertyVolumeScalar, channel);
        if (Property::exists(device, address)) channels.push_back(address);
    }
    return channels;
}

std::optional<Address> muteAddress(AudioObjectID device) {
    for (const AudioObjectPropertyElement element : {kAudioObjectPropertyElementMain, 1u}) {
        const Address address = outputAddress(kAudioDevicePropertyMute, element);
        if (Property::exists(device, address)) return address;
    }
    return std::nullopt;
}

[[noreturn]] void throwUnsupported() {
    throw AudioManagerError::coreAudioError(kAudioHardwareUnsupportedOperationError);
}

// Platform objects

/// Null for text that is not UTF-8.
PlatformObject<const __CFString> platformString(std::string_view text) {
    return PlatformObject<const __CFString>(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

bool hasNull(const std::vector<const void*>& objects) {
    return std::ranges::any_of(objects, [](const void* object) { return object == nullptr; });
}

PlatformObject<const __CFDictionary> platformDictionary(const CompositionDictionary& dictionary);

/// A value as a platform object; null when it, or anything in it, can't be expressed.
struct PlatformConversion {
    using Object = PlatformObject<const void>;

    Object operator()(CompositionValue::Opaque) const { return nullptr; }
    Object operator()(std::int64_t number) const {
        return Object(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &number));
    }
    Object operator()(double number) const {
        return Object(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &number));
    }
    Object operator()(const std::string& text) const { return platformString(text); }
    Object operator()(const CompositionDictionary& dictionary) const {
        return platformDictionary(dictionary);
    }
    Object operator()(const CompositionArray& array) const {
        std::vector<Object> owned;
        std::vector<const void*> elements;
        for (const CompositionValue& element : array) {
            owned.push_back(std::visit(*this, element.value));
            elements.push_back(owned.back().get());
        }
        if (hasNull(elements)) return nullptr;
        return Object(CFArrayCreate(kCFAllocatorDefault, elements.data(),
                                    static_cast<CFIndex>(elements.size()), &kCFTypeArrayCallBacks));
    }
};

PlatformObject<const __CFDictionary> platformDictionary(const CompositionDictionary& dictionary) {
    std::vector<PlatformObject<const void>> owned;
    std::vector<const void*> keys;
    std::vector<const void*> values;
    for (const auto& [key, value] : dictionary) {
        owned.push_back(platformString(key));
        keys.push_back(owned.back().get());
        owned.push_back(std::visit(PlatformConversion{}, value.value));
        values.push_back(owned.back().get());
    }
    if (hasNull(keys) || hasNull(values)) return nullptr;
    return PlatformObject<const __CFDictionary>(
        CFDictionaryCreate(kCFAllocatorDefault, keys.data(), values.data(), static_cast<CFIndex>(keys.size()),
                           &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

// Listeners

::AudioObjectPropertyAddress platformAddress(const Address& address) {
    return {address.mSelector, address.mScope, address.mElement};
}

/// The block that stands for a handler. It is copied here, once: the HAL knows a listener by this pointer.
/// The handler comes by value, because a block would keep a reference as no more than that.
std::shared_ptr<const void> listenerBlock(PropertyListenerHandler handler) {
    const AudioObjectPropertyListenerBlock block = ^(UInt32, const ::AudioObjectPropertyAddress*) {
      dispatch_assert_queue(dispatch_get_main_queue());
      handler();
    };
    return std::shared_ptr<const void>((const void*)Block_copy(block),
                                       [](const void* copy) { Block_release(copy); });
}

dispatch_queue_t queueOf(const PropertyListenerToken& token) {
    return static_cast<dispatch_queue_t>(const_cast<void*>(token.queue.get()));
}
AudioObjectPropertyListenerBlock blockOf(const PropertyListenerToken& token) {
    return (AudioObjectPropertyListenerBlock)token.block.get();
}

PropertyListenerTokenRef addListener(AudioObjectID objectID, const Address& address,
                                     PropertyListenerHandler handler) {
    // The main queue lives as long as the program: the token needs no hold on it.
    const std::shared_ptr<const void> queue(dispatch_get_main_queue(), [](const void*) {});
    auto token =
        std::make_shared<PropertyListenerToken>(objectID, address, queue, listenerBlock(std::move(handler)));
    const auto target = platformAddress(address);
    const OSStatus status =
        AudioObjectAddPropertyListenerBlock(objectID, &target, queueOf(*token), blockOf(*token));
    Property::check(status, [&] { return Property::label("AddPropertyListenerBlock ", objectID, address); });
    return token;
}

} // namespace

// Devices

std::vector<AudioObjectID> SystemCoreAudioClient::allDeviceIDs() {
    return Property::array<AudioObjectID>(kAudioObjectSystemObject,
                                          globalAddress(kAudioHardwarePropertyDevices));
}

std::optional<AudioObjectID> SystemCoreAudioClient::deviceID(std::string_view forUID) {
    const auto uid = platformString(forUID);
    if (!uid) return std::nullopt; // no device has such a UID
    const CFStringRef qualifier = uid.get();
    const auto target = platformAddress(globalAddress(kAudioHardwarePropertyTranslateUIDToDevice));
    AudioObjectID device = kAudioObjectUnknown;
    UInt32 size = sizeof device;
    const OSStatus status = AudioObjectGetPropertyData(kAudioObjectSystemObject, &target, sizeof(CFStringRef),
                                                       static_cast<const void*>(&qualifier), &size, &device);
    Property::check(status, [&] { return "TranslateUIDToDevice " + std::string(forUID); });
    if (size < sizeof device) throw AudioManagerError::coreAudioError(kAudioHardwareBadPropertySizeError);
    return device == kAudioObjectUnknown ? std::nullopt : std::optional(device);
}

std::string SystemCoreAudioClient::deviceUID(AudioObjectID device) {
    return Property::string(device, globalAddress(kAudioDevicePropertyDeviceUID));
}

std::string SystemCoreAudioClient::deviceName(AudioObjectID device) {
    return Property::string(device, globalAddress(kAudioObjectPropertyName));
}

std::uint32_t SystemCoreAudioClient::transportType(AudioObjectID device) {
    const Address address = globalAddress(kAudioDevicePropertyTransportType);
    return Property::exists(device, address) ? Property::value<UInt32>(device, address) : 0;
}

std::optional<std::string> SystemCoreAudioClient::deviceManufacturer(AudioObjectID device) noexcept {
    try {
        return Property::string(device, globalAddress(kAudioObjectPropertyManufacturer));
    } catch (const AudioManagerError&) {
        return std::nullopt;
    }
}

std::optional<std::int64_t> SystemCoreAudioClient::outputLatencyFrames(AudioObjectID device) noexcept {
    return number(device, outputAddress(kAudioDevicePropertyLatency));
}

std::optional<std::int64_t> SystemCoreAudioClient::outputSafetyOffsetFrames(AudioObjectID device) noexcept {
    return number(device, outputAddress(kAudioDevicePropertySafetyOffset));
}

std::int64_t SystemCoreAudioClient::outputChannelCount(AudioObjectID device) {
    return Property::channelCount(device, kAudioObjectPropertyScopeOutput);
}

bool SystemCoreAudioClient::isAlive(AudioObjectID device) noexcept {
    return isExactlyOne(device, globalAddress(kAudioDevicePropertyDeviceIsAlive));
}

bool SystemCoreAudioClient::isHidden(AudioObjectID device) noexcept {
    return isExactlyOne(device, globalAddress(kAudioDevicePropertyIsHidden));
}

bool SystemCoreAudioClient::isRunningSomewhere(AudioObjectID device) noexcept {
    return isExactlyOne(device, globalAddress(kAudioDevicePropertyDeviceIsRunningSomewhere));
}

// Sample rates

double SystemCoreAudioClient::nominalSampleRate(AudioObjectID device) {
    return Property::value<double>(device, globalAddress(kAudioDevicePropertyNominalSampleRate));
}

std::vector<SampleRateRange> SystemCoreAudioClient::availableSampleRates(AudioObjectID device) {
    std::vector<SampleRateRange> rates;
    for (const AudioValueRange& range : Property::array<AudioValueRange>(
             device, globalAddress(kAudioDevicePropertyAvailableNominalSampleRates))) {
        // Neither a range that is upside down nor one without a number for an end is a range.
        if (range.mMinimum <= range.mMaximum) rates.push_back({range.mMinimum, range.mMaximum});
    }
    return rates;
}

void SystemCoreAudioClient::setNominalSampleRate(AudioObjectID device, double sampleRate) {
    Property::write<Float64>(device, globalAddress(kAudioDevicePropertyNominalSampleRate), sampleRate);
}

// The system's outputs

AudioObjectID SystemCoreAudioClient::defaultOutputDeviceID() {
    return Property::value<AudioObjectID>(kAudioObjectSystemObject,
                                          globalAddress(kAudioHardwarePropertyDefaultOutputDevice));
}

void SystemCoreAudioClient::setDefaultOutputDevice(AudioObjectID device) {
    Property::write(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyDefaultOutputDevice),
                    device);
}

AudioObjectID SystemCoreAudioClient::defaultSystemOutputDeviceID() {
    return Property::value<AudioObjectID>(kAudioObjectSystemObject,
                                          globalAddress(kAudioHardwarePropertyDefaultSystemOutputDevice));
}

void SystemCoreAudioClient::setDefaultSystemOutputDevice(AudioObjectID device) {
    Property::write(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyDefaultSystemOutputDevice),
                    device);
}

// Aggregates

AudioObjectID SystemCoreAudioClient::createAggregateDevice(const AggregateDeviceDescription& description) {
    const auto composition = platformDictionary(description.dictionaryRepresentation());
    AudioObjectID device = kAudioObjectUnknown;
    const OSStatus status = composition ? AudioHardwareCreateAggregateDevice(composition.get(), &device)
                                        : kAudioHardwareUnspecifiedError;
    Property::check(status, [&] { return "AudioHardwareCreateAggregateDevice " + description.uid; });
    if (device == kAudioObjectUnknown)
        throw AudioManagerError::aggregateCreationFailed("Core Audio returned an invalid device.");
    return device;
}

void SystemCoreAudioClient::destroyAggregateDevice(AudioObjectID device) {
    const OSStatus status = AudioHardwareDestroyAggregateDevice(device);
    Property::check(status, [&] { return "AudioHardwareDestroyAggregateDevice " + std::to_string(device); });
}

CompositionDictionary SystemCoreAudioClient::aggregateComposition(AudioObjectID device) {
    return Property::dictionary(device, globalAddress(kAudioAggregateDevicePropertyComposition));
}

std::vector<std::string> SystemCoreAudioClient::aggregateFullSubDeviceUIDs(AudioObjectID device) {
    return Property::stringArray(device, globalAddress(kAudioAggregateDevicePropertyFullSubDeviceList));
}

std::vector<AudioObjectID> SystemCoreAudioClient::aggregateActiveSubDeviceIDs(AudioObjectID device) {
    return Property::array<AudioObjectID>(device,
                                          globalAddress(kAudioAggregateDevicePropertyActiveSubDeviceList));
}

std::string SystemCoreAudioClient::aggregateMainSubDeviceUID(AudioObjectID device) {
    return Property::string(device, globalAddress(kAudioAggregateDevicePropertyMainSubDevice));
}

bool SystemCoreAudioClient::supportsSubDeviceDriftCompensation(AudioObjectID subDevice) noexcept {
    return Property::exists(subDevice, globalAddress(kAudioSubDevicePropertyDriftCompensation));
}

bool SystemCoreAudioClient::subDeviceDriftCompensation(AudioObjectID subDevice) {
    return Property::value<UInt32>(subDevice, globalAddress(kAudioSubDevicePropertyDriftCompensation)) != 0;
}

void SystemCoreAudioClient::setSubDeviceDriftCompensation(AudioObjectID subDevice, bool enabled) {
    Property::write<UInt32>(subDevice, globalAddress(kAudioSubDevicePropertyDriftCompensation), enabled);
}

// Volume and mute

bool SystemCoreAudioClient::supportsOutputVolume(AudioObjectID device) noexcept {
    return !volumeAddresses(device).empty();
}

float SystemCoreAudioClient::outputVolume(AudioObjectID device) {
    const std::vector<Address> addresses = volumeAddresses(device);
    if (addresses.empty()) throwUnsupported();
    float loudest = 0;
    for (const Address& address : addresses)
        loudest = std::max(loudest, clampedVolume(Property::value<Float32>(device, address)));
    return loudest;
}

void SystemCoreAudioClient::setOutputVolume(AudioObjectID device, float volume) {
    const std::vector<Address> addresses = volumeAddresses(device);
    if (addresses.empty()) throwUnsupported();
    for (const Address& address : addresses)
        Property::write<Float32>(device, address, clampedVolume(volume));
}

bool SystemCoreAudioClient::supportsOutputMute(AudioObjectID device) noexcept {
    return muteAddress(device).has_value();
}

bool SystemCoreAudioClient::outputMute(AudioObjectID device) {
    const std::optional<Address> address = muteAddress(device);
    if (!address) throwUnsupported();
    return Property::value<UInt32>(device, *address) != 0;
}

void SystemCoreAudioClient::setOutputMute(AudioObjectID device, bool isMuted) {
    const std::optional<Address> address = muteAddress(device);
    if (!address) throwUnsupported();
    Property::write<UInt32>(device, *address, isMuted);
}

// Listeners

PropertyListenerTokenRef SystemCoreAudioClient::addOutputVolumeListener(AudioObjectID device,
                                                                        PropertyListenerHandler handler) {
    const std::vector<Address> addresses = volumeAddresses(device);
    return addresses.empty() ? nullptr : addListener(device, addresses.front(), std::move(handler));
}

PropertyListenerTokenRef SystemCoreAudioClient::addOutputMuteListener(AudioObjectID device,
                                                                      PropertyListenerHandler handler) {
    const std::optional<Address> address = muteAddress(device);
    return address ? addListener(device, *address, std::move(handler)) : nullptr;
}

PropertyListenerTokenRef SystemCoreAudioClient::addPropertyListener(AudioObjectID objectID,
                                                                    AudioObjectPropertySelector selector,
                                                                    AudioObjectPropertyScope scope,
                                                                    AudioObjectPropertyElement element,
                                                                    PropertyListenerHandler handler) {
    return addListener(objectID, {selector, scope, element}, std::move(handler));
}

void SystemCoreAudioClient::removePropertyListener(const PropertyListenerTokenRef& token) noexcept {
    if (!token) return;
    const auto target = platformAddress(token->address);
    const OSStatus status =
        AudioObjectRemovePropertyListenerBlock(token->objectID, &target, queueOf(*token), blockOf(*token));
    if (status != noErr)
        LoggingService::audioDevices.error("RemovePropertyListenerBlock failed: {}",
                                           coreAudioDescription(status));
}

} // namespace velto
