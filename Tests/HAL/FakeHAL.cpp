#include "Tests/HAL/FakeHAL.h"

#include <Block.h>
#include <CoreAudio/CoreAudio.h>
#include <dispatch/dispatch.h>

#include <algorithm>
#include <span>

extern "C" {
void* _Block_copy(const void* block);
void _Block_release(const void* block);
}

struct dispatch_queue_s {};

namespace velto::fake {

namespace {

FakeHAL* current = nullptr;
dispatch_queue_s mainQueue;
constexpr std::byte rubbish{0xA5};

} // namespace

FakeHAL::FakeHAL() { current = this; }

FakeHAL::~FakeHAL() {
    release();
    current = nullptr;
}

void FakeHAL::release() {
    for (const Listener& listener : listeners)
        Block_release(listener.block);
    for (const Notification& notification : mainQueue_)
        Block_release(notification.block);
    for (const auto& [place, property] : properties_) {
        if (property.object) CFRelease(property.object);
    }
    listeners.clear();
    mainQueue_.clear();
    properties_.clear();
}

FakeHAL::Property& FakeHAL::replace(AudioObjectID objectID, Address address, Property property) {
    Property& place = properties_[{objectID, address}];
    if (place.object) CFRelease(place.object);
    return place = std::move(property);
}

void FakeHAL::removeObject(AudioObjectID objectID) {
    std::erase_if(properties_, [&](const auto& entry) {
        if (entry.first.first != objectID) return false;
        if (entry.second.object) CFRelease(entry.second.object);
        return true;
    });
}

bool FakeHAL::hasObject(AudioObjectID objectID) const {
    return std::ranges::any_of(properties_, [&](const auto& entry) { return entry.first.first == objectID; });
}

void FakeHAL::notify(AudioObjectID objectID, std::vector<Address> addresses) {
    std::vector<::AudioObjectPropertyAddress> all;
    for (const Address& address : addresses)
        all.push_back({address.mSelector, address.mScope, address.mElement});
    for (const Listener& listener : listeners) {
        if (listener.objectID == objectID &&
            std::ranges::find(addresses, listener.address) != addresses.end())
            mainQueue_.push_back({Block_copy(listener.block), all});
    }
}

void FakeHAL::drainMainQueue() {
    isDraining_ = true;
    while (!mainQueue_.empty()) {
        const Notification next = std::move(mainQueue_.front());
        mainQueue_.pop_front();
        next.block(static_cast<UInt32>(next.addresses.size()), next.addresses.data());
        Block_release(next.block);
    }
    isDraining_ = false;
}

/// What the platform's functions do to the one HAL there is.
struct Functions {
    static FakeHAL::Property* find(AudioObjectID objectID, const ::AudioObjectPropertyAddress* address) {
        const auto found = current->properties_.find({objectID, place(address)});
        return found == current->properties_.end() ? nullptr : &found->second;
    }

    static FakeHAL::Address place(const ::AudioObjectPropertyAddress* address) {
        return {address->mSelector, address->mScope, address->mElement};
    }

    /// Books the call; the status it has to fail with, or 0.
    static OSStatus begin(const char* function) {
        const std::size_t number = current->calls.size();
        current->calls.emplace_back(function);
        if (!current->fault_ || current->fault_->call != number) return noErr;
        return std::exchange(current->fault_, std::nullopt)->status;
    }

    static OSStatus read(const FakeHAL::Property& property, UInt32* size, std::span<std::byte> buffer) {
        std::span<const std::byte> source = property.bytes;
        if (property.isObject) {
            if (buffer.size() != sizeof(CFTypeRef)) return kAudioHardwareBadPropertySizeError;
            if (property.object && property.deliveredSize.value_or(buffer.size()) >= buffer.size())
                CFRetain(property.object);
            source = std::as_bytes(std::span(&property.object, 1));
        }
        const std::size_t written = std::min(source.size(), buffer.size());
        std::ranges::copy(source.first(written), buffer.begin());
        *size = property.deliveredSize.value_or(static_cast<UInt32>(written));
        if (*size < written) std::ranges::fill(buffer.subspan(*size), rubbish);
        return noErr;
    }

    /// The UID in the qualifier is looked up; a property at the address serves only to lie about the size.
    static OSStatus translate(const FakeHAL::Property* property, UInt32 qualifierSize, const void* qualifier,
                              UInt32* size, std::span<std::byte> buffer) {
        if (qualifierSize != sizeof(CFTypeRef) || buffer.size() != sizeof(AudioObjectID))
            return kAudioHardwareBadPropertySizeError;
        CFTypeRef uid = nullptr;
        std::memcpy(&uid, qualifier, sizeof uid);
        const auto found = current->devicesByUID.find(text(uid));
        const AudioObjectID device = found == current->devicesByUID.end() ? 0 : found->second;
        FakeHAL::Property answer = property ? *property : FakeHAL::Property{};
        answer.bytes.resize(sizeof device);
        std::memcpy(answer.bytes.data(), &device, sizeof device);
        return read(answer, size, buffer);
    }

    static void assertOnMainQueue(dispatch_queue_t queue) {
        if (queue != &mainQueue || !current->isDraining_)
            current->faults.emplace_back("a listener ran off the main queue");
    }

    static void* copyBlock(const void* block) {
        void* copy = _Block_copy(block);
        ++current->blocks_[copy];
        return copy;
    }

    static void releaseBlock(const void* block) {
        const auto found = current->blocks_.find(block);
        if (found == current->blocks_.end()) {
            current->faults.emplace_back("release of a block that has no reference");
            return;
        }
        if (--found->second == 0) current->blocks_.erase(found);
        _Block_release(block);
    }
};

} // namespace velto::fake

using velto::fake::current;
using velto::fake::FakeHAL;
using velto::fake::Functions;

extern "C" {

dispatch_queue_t dispatch_get_main_queue(void) { return &velto::fake::mainQueue; }
void dispatch_assert_queue(dispatch_queue_t queue) { Functions::assertOnMainQueue(queue); }

void* countedBlockCopy(const void* block) { return Functions::copyBlock(block); }
void countedBlockRelease(const void* block) { Functions::releaseBlock(block); }

Boolean AudioObjectHasProperty(AudioObjectID inObjectID, const AudioObjectPropertyAddress* inAddress) {
    return Functions::find(inObjectID, inAddress) != nullptr;
}

OSStatus AudioObjectGetPropertyDataSize(AudioObjectID inObjectID, const AudioObjectPropertyAddress* inAddress,
                                        UInt32, const void*, UInt32* outDataSize) {
    std::memset(outDataSize, 0xA5, sizeof *outDataSize);
    if (const OSStatus status = Functions::begin("GetPropertyDataSize")) return status;
    const FakeHAL::Property* property = Functions::find(inObjectID, inAddress);
    if (!property) return velto::kAudioHardwareUnknownPropertyError;
    *outDataSize = property->announcedSize.value_or(static_cast<UInt32>(property->bytes.size()));
    return noErr;
}

OSStatus AudioObjectGetPropertyData(AudioObjectID inObjectID, const AudioObjectPropertyAddress* inAddress,
                                    UInt32 inQualifierDataSize, const void* inQualifierData,
                                    UInt32* ioDataSize, void* outData) {
    const std::span buffer(static_cast<std::byte*>(outData), *ioDataSize);
    std::ranges::fill(buffer, velto::fake::rubbish);
    if (const OSStatus status = Functions::begin("GetPropertyData")) return status;
    const FakeHAL::Property* property = Functions::find(inObjectID, inAddress);
    if (inAddress->mSelector == velto::kAudioHardwarePropertyTranslateUIDToDevice)
        return Functions::translate(property, inQualifierDataSize, inQualifierData, ioDataSize, buffer);
    return property ? Functions::read(*property, ioDataSize, buffer)
                    : velto::kAudioHardwareUnknownPropertyError;
}

OSStatus AudioObjectSetPropertyData(AudioObjectID inObjectID, const AudioObjectPropertyAddress* inAddress,
                                    UInt32, const void*, UInt32 inDataSize, const void* inData) {
    if (const OSStatus status = Functions::begin("SetPropertyData")) return status;
    FakeHAL::Property* property = Functions::find(inObjectID, inAddress);
    if (!property) return velto::kAudioHardwareUnknownPropertyError;
    if (property->bytes.size() != inDataSize) return velto::kAudioHardwareBadPropertySizeError;
    std::memcpy(property->bytes.data(), inData, inDataSize);
    if (current->onWrite) current->onWrite(inObjectID, Functions::place(inAddress));
    return noErr;
}

OSStatus AudioObjectAddPropertyListenerBlock(AudioObjectID inObjectID,
                                             const AudioObjectPropertyAddress* inAddress,
                                             dispatch_queue_t inDispatchQueue,
                                             AudioObjectPropertyListenerBlock inListener) {
    if (const OSStatus status = Functions::begin("AddPropertyListenerBlock")) return status;
    if (current->refusesUnknownObjects && !current->hasObject(inObjectID))
        return velto::kAudioHardwareBadObjectError;
    current->listeners.push_back(
        {inObjectID, Functions::place(inAddress), inDispatchQueue, Block_copy(inListener)});
    return noErr;
}

OSStatus AudioObjectRemovePropertyListenerBlock(AudioObjectID inObjectID,
                                                const AudioObjectPropertyAddress* inAddress,
                                                dispatch_queue_t inDispatchQueue,
                                                AudioObjectPropertyListenerBlock inListener) {
    if (const OSStatus status = Functions::begin("RemovePropertyListenerBlock")) return status;
    const auto found = std::ranges::find_if(current->listeners, [&](const FakeHAL::Listener& listener) {
        return listener.objectID == inObjectID && listener.address == Functions::place(inAddress) &&
               listener.queue == inDispatchQueue && listener.block == inListener;
    });
    if (found == current->listeners.end()) return velto::kAudioHardwareIllegalOperationError;
    Block_release(found->block);
    current->listeners.erase(found);
    return noErr;
}

OSStatus AudioHardwareCreateAggregateDevice(CFDictionaryRef inDescription, AudioObjectID* outDeviceID) {
    std::memset(outDeviceID, 0xA5, sizeof *outDeviceID);
    if (const OSStatus status = Functions::begin("CreateAggregateDevice")) return status;
    current->composition = velto::fake::described(inDescription);
    const AudioObjectID created = current->nextAggregateID;
    if (current->onCreate)
        if (const OSStatus status = current->onCreate(inDescription, created)) return status;
    *outDeviceID = created;
    return noErr;
}

OSStatus AudioHardwareDestroyAggregateDevice(AudioObjectID inDeviceID) {
    if (const OSStatus status = Functions::begin("DestroyAggregateDevice")) return status;
    current->destroyedAggregates.push_back(inDeviceID);
    return current->onDestroy ? current->onDestroy(inDeviceID) : noErr;
}
}
