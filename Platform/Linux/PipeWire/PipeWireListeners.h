// PipeWireListeners: the property listeners of the client, and how they are told.
//
// A listener hears of a property when its value differs from the one it was last told of, in a turn of the
// main loop. Several changes in one turn are one notification.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/CoreAudio/PropertyListenerToken.h"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace velto {

/// A property of an object, whatever its scope and element.
using ListenedProperty = std::pair<AudioObjectID, AudioObjectPropertySelector>;

class PipeWireListeners {
  public:
    PropertyListenerTokenRef add(AudioObjectID objectID, AudioObjectPropertyAddress address,
                                 PropertyListenerHandler handler);
    /// Answers whether the token was registered here.
    bool remove(const PropertyListenerToken& token);
    std::size_t count() const noexcept { return registrations_.size(); }

    /// Calls the handlers of these properties in the order of their registration. They may add and remove.
    void notify(const std::set<ListenedProperty>& changed);

  private:
    struct Registration {
        ListenedProperty property;
        PropertyListenerHandler handler;
        const void* identity;
    };
    std::map<std::uint64_t, Registration> registrations_;
    std::uint64_t nextID_ = 0;
};

} // namespace velto
