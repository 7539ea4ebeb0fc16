#include "VeltoCore/Aggregate/AudioGroup.h"

#include <algorithm>
#include <set>
#include <utility>

namespace velto {

namespace {

struct Description {
    std::string operator()(const AudioGroup::ValidationError::DuplicateDevice& e) const {
        return "The device " + e.uid + " is in the group twice.";
    }
    std::string operator()(const AudioGroup::ValidationError::DeviceWithoutOutput& e) const {
        return e.name + " has no output channels.";
    }
    std::string operator()(AudioGroup::ValidationError::TooFewDevices) const {
        return "A group needs two devices.";
    }
};

} // namespace

AudioGroup::ValidationError::ValidationError(Kind kind)
    : kind_(std::move(kind)), description_(std::visit(Description{}, kind_)) {}

AudioGroup::AudioGroup(std::vector<AudioOutputDevice> devices) : devices_(std::move(devices)) {
    std::set<std::string_view> seen;
    for (const AudioOutputDevice& device : devices_) {
        // A device that is not there has no channels to count: others report it.
        if (!device.supportsOutput() && device.isConnected)
            throw ValidationError(ValidationError::DeviceWithoutOutput{device.name});
        if (!seen.insert(device.uid).second)
            throw ValidationError(ValidationError::DuplicateDevice{device.uid});
    }
    if (devices_.size() < 2) throw ValidationError(ValidationError::TooFewDevices{});
}

std::vector<std::string> AudioGroup::uids() const {
    std::vector<std::string> result;
    result.reserve(devices_.size());
    for (const AudioOutputDevice& device : devices_)
        result.push_back(device.uid);
    return result;
}

std::string AudioGroup::displayName() const {
    std::string result;
    for (const AudioOutputDevice& device : devices_) {
        if (&device != &devices_.front()) result += " + ";
        result += device.name;
    }
    return result;
}

bool AudioGroup::contains(std::string_view uid) const noexcept {
    return std::ranges::find(devices_, uid, &AudioOutputDevice::uid) != devices_.end();
}

} // namespace velto
