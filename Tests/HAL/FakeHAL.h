// FakeHAL: a HAL of scripted objects under the real client, with the main queue and the blocks' reference
// counts.
//
// 1. Make one; the platform's functions answer for it while it lives.
// 2. Give objects properties; lie about sizes, or make one call fail.
// 3. Call the client. 4. Change something, notify, drain the main queue. 5. Look at what was written and
// called. Like the real one it leaves rubbish where a call failed or a property is shorter than the buffer.
#pragma once

#include "Tests/HAL/FakeCoreFoundation.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <CoreAudio/CoreAudio.h>

#include <cstddef>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace velto::fake {

class FakeHAL {
  public:
    using Address = AudioObjectPropertyAddress;

    struct Property {
        std::vector<std::byte> bytes = {};
        /// The platform object that every read answers a reference to; null with `isObject` for none.
        CFTypeRef object = nullptr;
        bool isObject = false;
        /// What the size query says, and what a read says it wrote, where that isn't the truth.
        std::optional<UInt32> announcedSize = {};
        std::optional<UInt32> deliveredSize = {};
    };

    struct Listener {
        AudioObjectID objectID;
        Address address;
        dispatch_queue_t queue;
        AudioObjectPropertyListenerBlock block;
    };

    FakeHAL();
    FakeHAL(const FakeHAL&) = delete;
    FakeHAL& operator=(const FakeHAL&) = delete;
    ~FakeHAL();
    /// Drops all it holds: properties, listeners, undelivered notifications.
    void release();

    // Tests set these

    /// A property that is a list, or with one element a single value.
    template <class Value>
    Property& set(AudioObjectID objectID, Address address, const std::vector<Value>& values) {
        static_assert(std::is_trivially_copyable_v<Value>);
        std::vector<std::byte> bytes(values.size() * sizeof(Value));
        if (!values.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
        return replace(objectID, address, {.bytes = std::move(bytes)});
    }
    template <class Value>
    Property& set(AudioObjectID objectID, Address address, Value value) {
        return set(objectID, address, std::vector<Value>{value});
    }
    /// A property that is a platform object; takes over the reference.
    Property& setObject(AudioObjectID objectID, Address address, CFTypeRef object) {
        return replace(objectID, address, {.object = object, .isObject = true});
    }
    void remove(AudioObjectID objectID, Address address) {
        replace(objectID, address, {});
        properties_.erase({objectID, address});
    }
    /// Drops all its properties.
    void removeObject(AudioObjectID objectID);
    bool hasObject(AudioObjectID objectID) const;
    /// Makes one call fail, counted from 0 for the next; calls of AudioObjectHasProperty don't count.
    void fail(std::size_t callFromNow, OSStatus status) { fault_ = {calls.size() + callFromNow, status}; }

    std::map<std::string, AudioObjectID> devicesByUID;
    AudioObjectID nextAggregateID = 100;
    /// Whether an object without properties is one that can't be listened to.
    bool refusesUnknownObjects = false;
    // What the HAL does besides, each where it is set.
    std::function<OSStatus(CFDictionaryRef, AudioObjectID)> onCreate;
    std::function<OSStatus(AudioObjectID)> onDestroy;
    std::function<void(AudioObjectID, Address)> onWrite;

    // Tests read these

    template <class Value>
    Value value(AudioObjectID objectID, Address address) const {
        Value result{};
        const auto& bytes = properties_.at({objectID, address}).bytes;
        if (bytes.size() == sizeof(Value)) std::memcpy(&result, bytes.data(), sizeof result);
        return result;
    }
    /// The calls so far that can fail, each by its function's name without AudioObject or AudioHardware.
    std::vector<std::string> calls;
    std::vector<Listener> listeners;
    /// The last composition handed over for creation, as text.
    std::string composition;
    std::vector<AudioObjectID> destroyedAggregates;
    /// What was done wrong, such as a handler run off the main queue.
    std::vector<std::string> faults;
    bool hasPendingFault() const { return fault_.has_value(); }

    // Notifications

    /// Queues one callback for each listener on any of the addresses; it carries all of them.
    void notify(AudioObjectID objectID, std::vector<Address> addresses);
    void drainMainQueue();

    /// Blocks that somebody still holds a reference to.
    std::size_t liveBlocks() const { return blocks_.size(); }

  private:
    friend struct Functions;
    struct Fault {
        std::size_t call;
        OSStatus status;
    };
    struct Notification {
        AudioObjectPropertyListenerBlock block;
        std::vector<::AudioObjectPropertyAddress> addresses;
    };

    Property& replace(AudioObjectID objectID, Address address, Property property);

    std::map<std::pair<AudioObjectID, Address>, Property> properties_;
    std::deque<Notification> mainQueue_;
    bool isDraining_ = false;
    std::optional<Fault> fault_;
    std::map<const void*, int> blocks_;
};

} // namespace velto::fake
