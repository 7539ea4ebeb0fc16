#include "Simulation/SimulatedListeners.h"

#include "VeltoCore/CoreAudio/CoreAudioStatus.h"

#include <algorithm>
#include <utility>

namespace velto {

PropertyListenerTokenRef SimulatedListeners::add(AudioObjectID objectID, AudioObjectPropertyAddress address,
                                                 PropertyListenerHandler handler) {
    std::shared_ptr<const void> identity = std::make_shared<const char>();
    registered_.push_back(
        std::make_shared<const Listener>(Listener{objectID, address, std::move(handler), identity}));
    return std::make_shared<PropertyListenerToken>(objectID, address, nullptr, std::move(identity));
}

bool SimulatedListeners::remove(const PropertyListenerToken& token) noexcept {
    const auto isIt = [&token](const auto& listener) { return listener->identity == token.block; };
    return std::erase_if(registered_, isIt) > 0;
}

void SimulatedListeners::notify(AudioObjectID objectID, AudioObjectPropertyAddress address,
                                Delivery delivery) {
    // Handlers may add and remove: each one called must still be registered then.
    std::vector<std::weak_ptr<const Listener>> concerned;
    for (const auto& listener : registered_) {
        if (listener->objectID == objectID && listener->address == address) concerned.push_back(listener);
    }
    for (auto& weak : concerned) {
        const auto call = [weak = std::move(weak)] {
            if (const auto listener = weak.lock()) listener->handler();
        };
        if (delivery == Delivery::synchronous) {
            call();
        } else {
            actor_.post(call);
        }
    }
}

void SimulatedListeners::forgetAllButServiceRestarted() {
    std::erase_if(registered_, [](const auto& listener) {
        return listener->address.mSelector != kAudioHardwarePropertyServiceRestarted;
    });
}

std::vector<std::string> SimulatedListeners::descriptions() const {
    std::vector<std::string> result;
    for (const auto& listener : registered_) {
        result.push_back(fourCharCodeDescription(listener->address.mSelector) + " on " +
                         std::to_string(listener->objectID));
    }
    return result;
}

} // namespace velto
