#include "VeltoCore/CoreAudio/CoreAudioProperty.h"

#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/Services/LoggingService.h"

#include <CoreAudio/CoreAudio.h>
#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <utility>

namespace velto {

namespace {

using Address = CoreAudioProperty::Address;

/// No property that is read here comes near it: an announcement beyond is an error, not a reason to allocate.
constexpr std::uint32_t largestSize = 16u << 20;
/// A composition has three levels; what a device nests deeper is of no use.
constexpr int deepestLevel = 16;

::AudioObjectPropertyAddress platformAddress(const Address& address) {
    return {address.mSelector, address.mScope, address.mElement};
}

/// The announced size in bytes.
std::uint32_t dataSize(AudioObjectID objectID, const Address& address) {
    const auto target = platformAddress(address);
    UInt32 size = 0;
    const OSStatus status = AudioObjectGetPropertyDataSize(objectID, &target, 0, nullptr, &size);
    CoreAudioProperty::check(
        status, [&] { return CoreAudioProperty::label("GetPropertyDataSize ", objectID, address); });
    if (size > largestSize) throw AudioManagerError::coreAudioError(kAudioHardwareBadPropertySizeError);
    return size;
}

/// Fills the buffer; answers how many bytes of it hold the property, never more than the buffer has.
template <std::invocable Label>
std::size_t readBytes(AudioObjectID objectID, const Address& address, std::span<std::byte> buffer,
                      const Label& label) {
    const auto target = platformAddress(address);
    UInt32 size = static_cast<UInt32>(buffer.size());
    const OSStatus status = AudioObjectGetPropertyData(objectID, &target, 0, nullptr, &size, buffer.data());
    CoreAudioProperty::check(status, label);
    return std::min<std::size_t>(size, buffer.size());
}

/// A property that is one platform object; null when it holds none.
PlatformObject<const void> readObject(AudioObjectID objectID, const Address& address,
                                      std::string_view operation) {
    CFTypeRef object = nullptr;
    const std::size_t size = readBytes(objectID, address, std::as_writable_bytes(std::span(&object, 1)), [&] {
        return CoreAudioProperty::label(operation, objectID, address);
    });
    if (size < sizeof object) throw AudioManagerError::coreAudioError(kAudioHardwareBadPropertySizeError);
    return PlatformObject<const void>(object);
}

/// The object as what it is expected to be; null for another type or none.
template <class Reference>
Reference as(CFTypeRef object, CFTypeID type) {
    return object && CFGetTypeID(object) == type ? static_cast<Reference>(object) : nullptr;
}
CFStringRef asString(CFTypeRef object) { return as<CFStringRef>(object, CFStringGetTypeID()); }
CFArrayRef asArray(CFTypeRef object) { return as<CFArrayRef>(object, CFArrayGetTypeID()); }
CFDictionaryRef asDictionary(CFTypeRef object) {
    return as<CFDictionaryRef>(object, CFDictionaryGetTypeID());
}

/// Appends the characters of the range up to the first that has no form in UTF-8; how many those were.
CFIndex append(CFStringRef string, CFRange range, std::string& result) {
    constexpr UInt8 noLoss = 0;
    CFIndex size = 0;
    CFStringGetBytes(string, range, kCFStringEncodingUTF8, noLoss, false, nullptr, 0, &size);
    const std::size_t start = result.size();
    result.resize(start + static_cast<std::size_t>(size));
    return CFStringGetBytes(string, range, kCFStringEncodingUTF8, noLoss, false,
                            reinterpret_cast<UInt8*>(result.data() + start), size, nullptr);
}

/// UTF-8; half a surrogate pair, at which the system stops, becomes a replacement character.
std::string text(CFStringRef string) {
    const CFIndex length = CFStringGetLength(string);
    std::string result;
    CFIndex done = append(string, {0, length}, result);
    while (done < length) {
        result += "\uFFFD";
        ++done;
        if (done < length) done += append(string, {done, length - done}, result);
    }
    return result;
}

CompositionValue number(CFNumberRef number) {
    if (CFNumberIsFloatType(number)) {
        double value = 0;
        CFNumberGetValue(number, kCFNumberDoubleType, &value);
        return {value};
    }
    std::int64_t value = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &value);
    return {value};
}

CompositionValue compositionValue(CFTypeRef object, int level);

CompositionArray compositionArray(CFArrayRef array, int level) {
    CompositionArray result;
    const CFIndex count = CFArrayGetCount(array);
    for (CFIndex i = 0; i < count; ++i)
        result.push_back(compositionValue(CFArrayGetValueAtIndex(array, i), level + 1));
    return result;
}

CompositionDictionary compositionDictionary(CFDictionaryRef dictionary, int level) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count);
    std::vector<const void*> values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    CompositionDictionary result;
    for (std::size_t i = 0; i < count; ++i) {
        if (const CFStringRef key = asString(keys[i]))
            result.emplace(text(key), compositionValue(values[i], level + 1));
    }
    return result;
}

CompositionValue compositionValue(CFTypeRef object, int level) {
    if (level > deepestLevel) return {};
    if (const auto string = asString(object)) return {text(string)};
    if (const auto value = as<CFNumberRef>(object, CFNumberGetTypeID())) return number(value);
    if (const auto boolean = as<CFBooleanRef>(object, CFBooleanGetTypeID()))
        return {std::int64_t{CFBooleanGetValue(boolean) ? 1 : 0}};
    if (const auto array = asArray(object)) return {compositionArray(array, level)};
    if (const auto dictionary = asDictionary(object)) return {compositionDictionary(dictionary, level)};
    return {};
}

/// Adds up a stream configuration. Its count of buffers is believed only as far as the bytes reach.
std::int64_t channelSum(std::span<const std::byte> configuration) {
    constexpr std::size_t header = offsetof(AudioBufferList, mBuffers);
    UInt32 count = 0;
    if (configuration.size() < header) return 0;
    std::memcpy(&count, configuration.data() + offsetof(AudioBufferList, mNumberBuffers), sizeof count);
    configuration = configuration.subspan(header);
    std::int64_t sum = 0;
    for (; count > 0 && configuration.size() >= sizeof(AudioBuffer); --count) {
        AudioBuffer buffer;
        std::memcpy(&buffer, configuration.data(), sizeof buffer);
        sum += buffer.mNumberChannels;
        configuration = configuration.subspan(sizeof buffer);
    }
    return sum;
}

} // namespace

void PlatformObjectRelease::operator()(const void* object) const noexcept { CFRelease(object); }

bool CoreAudioProperty::exists(AudioObjectID objectID, const Address& address) noexcept {
    const auto target = platformAddress(address);
    return AudioObjectHasProperty(objectID, &target);
}

std::string CoreAudioProperty::string(AudioObjectID objectID, const Address& address) {
    const auto object = readObject(objectID, address, "GetPropertyData(CFString) ");
    const CFStringRef string = asString(object.get());
    if (!string) throw AudioManagerError::coreAudioError(kAudioHardwareUnspecifiedError);
    return text(string);
}

CompositionDictionary CoreAudioProperty::dictionary(AudioObjectID objectID, const Address& address) {
    const auto object = readObject(objectID, address, "GetPropertyData(CFDictionary) ");
    const CFDictionaryRef dictionary = asDictionary(object.get());
    return dictionary ? compositionDictionary(dictionary, 0) : CompositionDictionary{};
}

std::vector<std::string> CoreAudioProperty::stringArray(AudioObjectID objectID, const Address& address) {
    const auto object = readObject(objectID, address, "GetPropertyData(CFArray) ");
    const CFArrayRef array = asArray(object.get());
    std::vector<std::string> result;
    const CFIndex count = array ? CFArrayGetCount(array) : 0;
    for (CFIndex i = 0; i < count; ++i) {
        if (const CFStringRef string = asString(CFArrayGetValueAtIndex(array, i)))
            result.push_back(text(string));
    }
    return result;
}

std::int64_t CoreAudioProperty::channelCount(AudioObjectID objectID, AudioObjectPropertyScope scope) {
    const Address address{kAudioDevicePropertyStreamConfiguration, scope, kAudioObjectPropertyElementMain};
    if (!exists(objectID, address)) return 0;
    std::vector<std::byte> bytes(dataSize(objectID, address));
    if (bytes.empty()) return 0;
    bytes.resize(readBytes(objectID, address, bytes, [&] {
        return "GetPropertyData StreamConfiguration on " + std::to_string(objectID);
    }));
    return channelSum(bytes);
}

std::string CoreAudioProperty::label(std::string_view operation, AudioObjectID objectID,
                                     const Address& address) {
    return std::string(operation) + fourCharCodeDescription(address.mSelector) + " on " +
           std::to_string(objectID);
}

std::size_t CoreAudioProperty::read(AudioObjectID objectID, const Address& address,
                                    std::span<std::byte> buffer) {
    return readBytes(objectID, address, buffer, [&] { return label("GetPropertyData ", objectID, address); });
}

std::vector<std::byte> CoreAudioProperty::readAll(AudioObjectID objectID, const Address& address,
                                                  std::size_t smallestSize) {
    std::vector<std::byte> bytes(dataSize(objectID, address));
    if (bytes.size() < smallestSize) return {};
    bytes.resize(read(objectID, address, bytes));
    return bytes;
}

void CoreAudioProperty::writeBytes(AudioObjectID objectID, const Address& address,
                                   std::span<const std::byte> bytes) {
    const auto target = platformAddress(address);
    const OSStatus status = AudioObjectSetPropertyData(objectID, &target, 0, nullptr,
                                                       static_cast<UInt32>(bytes.size()), bytes.data());
    check(status, [&] { return label("SetPropertyData ", objectID, address); });
}

void CoreAudioProperty::fail(OSStatus status, const std::string& label) {
    LoggingService::audioDevices.error("{} failed: {}", label, coreAudioDescription(status));
    throw AudioManagerError::coreAudioError(status);
}

} // namespace velto
