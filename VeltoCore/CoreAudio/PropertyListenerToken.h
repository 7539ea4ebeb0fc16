// PropertyListenerToken: the receipt for a registered property listener.
//
// It must be passed back to CoreAudioClient::removePropertyListener. Dropping it frees its fields and nothing
// else: the listener stays registered.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <functional>
#include <memory>
#include <utility>

namespace velto {

/// Called on the main actor, without payload: the receiver reads again what it needs.
using PropertyListenerHandler = std::function<void()>;

class PropertyListenerToken {
  public:
    PropertyListenerToken(AudioObjectID objectID, AudioObjectPropertyAddress address,
                          std::shared_ptr<const void> queue, std::shared_ptr<const void> block)
        : objectID(objectID), address(address), queue(std::move(queue)), block(std::move(block)) {}
    PropertyListenerToken(const PropertyListenerToken&) = delete;
    PropertyListenerToken& operator=(const PropertyListenerToken&) = delete;

    const AudioObjectID objectID;
    const AudioObjectPropertyAddress address;
    /// The platform's queue that the block was registered on; null where there is none.
    const std::shared_ptr<const void> queue;
    /// The platform's listener exactly as registered: removal goes by its identity.
    const std::shared_ptr<const void> block;
};

/// Null where an operation answers that there is nothing to listen to.
using PropertyListenerTokenRef = std::shared_ptr<PropertyListenerToken>;

} // namespace velto
