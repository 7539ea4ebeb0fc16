// SimulatedListeners: the property listeners of the simulated world.
//
// Part of SimulatedWorld. A listener stays until it is removed, whatever becomes of its token or of the
// object it listens to: so each one left over can be counted.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/CoreAudio/PropertyListenerToken.h"

#include <memory>
#include <string>
#include <vector>

namespace velto {

class SimulatedListeners {
  public:
    enum class Delivery { posted, synchronous };

    explicit SimulatedListeners(MainActor& actor) : actor_(actor) {}

    PropertyListenerTokenRef add(AudioObjectID objectID, AudioObjectPropertyAddress address,
                                 PropertyListenerHandler handler);
    /// False when the token's listener isn't registered (any more).
    bool remove(const PropertyListenerToken& token) noexcept;
    /// Calls those who listen to exactly this address. A listener that is removed before its turn is not
    /// called.
    void notify(AudioObjectID objectID, AudioObjectPropertyAddress address, Delivery delivery);
    void forgetAll() noexcept { registered_.clear(); }
    /// The audio service forgets all but those who wait for its return.
    void forgetAllButServiceRestarted();

    std::size_t count() const noexcept { return registered_.size(); }
    /// Such as "'dev#' (1684370979) on 1", in the order of registration.
    std::vector<std::string> descriptions() const;

  private:
    struct Listener {
        AudioObjectID objectID;
        AudioObjectPropertyAddress address;
        PropertyListenerHandler handler;
        /// Shared with the token: what removal goes by.
        std::shared_ptr<const void> identity;
    };

    MainActor& actor_;
    /// The only owner but for a call under way.
    std::vector<std::shared_ptr<const Listener>> registered_;
};

} // namespace velto
