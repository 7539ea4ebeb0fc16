#include "Platform/Linux/PipeWire/PipeWireListeners.h"

#include <algorithm>

namespace velto {

PropertyListenerTokenRef PipeWireListeners::add(AudioObjectID objectID, AudioObjectPropertyAddress address,
                                                PropertyListenerHandler handler) {
    // The token's block is nothing but an identity here.
    auto identity = std::make_shared<const std::uint64_t>(nextID_);
    registrations_.emplace(nextID_++,
                           Registration{{objectID, address.mSelector}, std::move(handler), identity.get()});
    return std::make_shared<PropertyListenerToken>(objectID, address, nullptr, std::move(identity));
}

bool PipeWireListeners::remove(const PropertyListenerToken& token) {
    return std::erase_if(registrations_,
                         [&](const auto& entry) { return entry.second.identity == token.block.get(); }) > 0;
}

void PipeWireListeners::notify(const std::set<ListenedProperty>& changed) {
    std::vector<std::uint64_t> listening;
    for (const auto& [id, registration] : registrations_)
        if (changed.contains(registration.property)) listening.push_back(id);
    for (const std::uint64_t id : listening) {
        const auto found = registrations_.find(id);
        if (found == registrations_.end()) continue;
        const PropertyListenerHandler handler = found->second.handler; // it may remove itself while it runs
        handler();
    }
}

} // namespace velto
