// CoreAudioProperty: reads and writes of the HAL's properties, and the check that every HAL status passes.
//
// Stateless; usable from any thread, in practice the main actor. Nothing is cached or retried. What a device
// answers is never trusted: sizes are checked before a byte is used, platform objects by their type, and
// those are released on every path. Built where the HAL is; platform types stay in the source.
#pragma once

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/CompositionValue.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace velto {

/// Gives up one reference to a platform object.
struct PlatformObjectRelease {
    void operator()(const void* object) const noexcept;
};
/// One reference to a platform object, held from the call that answered it; null for none.
template <class Object>
using PlatformObject = std::unique_ptr<Object, PlatformObjectRelease>;

struct CoreAudioProperty {
    CoreAudioProperty() = delete;

    using Address = AudioObjectPropertyAddress;

    static bool exists(AudioObjectID objectID, const Address& address) noexcept;

    /// A value of fixed size. A shorter answer throws '!siz'.
    template <class Value>
    static Value value(AudioObjectID objectID, const Address& address) {
        static_assert(std::is_trivially_copyable_v<Value>);
        Value result{};
        if (read(objectID, address, std::as_writable_bytes(std::span(&result, 1))) < sizeof(Value))
            throw AudioManagerError::coreAudioError(kAudioHardwareBadPropertySizeError);
        return result;
    }

    /// As many whole elements as the property both announces and delivers.
    template <class Element>
    static std::vector<Element> array(AudioObjectID objectID, const Address& address) {
        static_assert(std::is_trivially_copyable_v<Element>);
        const std::vector<std::byte> bytes = readAll(objectID, address, sizeof(Element));
        std::vector<Element> result(bytes.size() / sizeof(Element));
        if (!result.empty()) std::memcpy(result.data(), bytes.data(), result.size() * sizeof(Element));
        return result;
    }

    /// Throws 'what' when the property holds no text.
    static std::string string(AudioObjectID objectID, const Address& address);
    /// Without the entries whose keys are not text; empty when the property holds no dictionary.
    static CompositionDictionary dictionary(AudioObjectID objectID, const Address& address);
    /// Without the elements that are not text; empty when the property holds no array.
    static std::vector<std::string> stringArray(AudioObjectID objectID, const Address& address);
    /// The channels of all streams in the scope; 0 when the object has none there.
    /// Backs kAudioDevicePropertyStreamConfiguration.
    static std::int64_t channelCount(AudioObjectID objectID, AudioObjectPropertyScope scope);

    template <class Value>
    static void write(AudioObjectID objectID, const Address& address, const Value& value) {
        static_assert(std::is_trivially_copyable_v<Value>);
        writeBytes(objectID, address, std::as_bytes(std::span(&value, 1)));
    }

    /// Logs and throws `coreAudioError` for any status but 0. The label, a function that yields the
    /// operation's name, is called only then.
    template <std::invocable Label>
    static void check(OSStatus status, const Label& label) {
        if (status != noErr) fail(status, label());
    }
    /// The name of an operation on a property, such as "SetPropertyData 'mute' (1836414053) on 42".
    static std::string label(std::string_view operation, AudioObjectID objectID, const Address& address);

  private:
    /// Fills the buffer; answers how many bytes of it hold the property.
    static std::size_t read(AudioObjectID objectID, const Address& address, std::span<std::byte> buffer);
    /// The whole property; empty, without a read, when it announces less than the smallest useful size.
    static std::vector<std::byte> readAll(AudioObjectID objectID, const Address& address,
                                          std::size_t smallestSize);
    static void writeBytes(AudioObjectID objectID, const Address& address, std::span<const std::byte> bytes);
    [[noreturn]] static void fail(OSStatus status, const std::string& label);
};

} // namespace velto
