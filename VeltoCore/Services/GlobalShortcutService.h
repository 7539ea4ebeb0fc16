// GlobalShortcutService: keys that reach the program whichever program is in front.
//
// Owned by the program's entry point; main actor only. The desktop asks its user which keys they are, and may
// refuse all of it.
#pragma once

#include "VeltoCore/Observation/Observable.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class GlobalShortcutService {
  public:
    struct Shortcut {
        /// For the program.
        std::string id;
        /// For the user: what it does.
        std::string description;
        /// The keys, as the desktop calls them; empty before it says so.
        std::string keys = {};

        friend bool operator==(const Shortcut&, const Shortcut&) = default;
    };
    enum class State {
        /// Nothing was asked, or nothing said yet.
        unknown,
        available,
        bound,
        /// The user, or the desktop for him, said no.
        refused,
        /// The desktop has none for programs.
        unavailable,
    };

    virtual ~GlobalShortcutService() = default;

    virtual State state() const = 0;
    /// Those that are bound.
    virtual const std::vector<Shortcut>& shortcuts() const = 0;
    /// Calls the handler when either of these has changed.
    virtual Subscription observe(std::function<void()> handler) = 0;

    /// Finds out whether there are any, unless that is known.
    virtual void inquire() = 0;
    /// The handler is called with the ID of a shortcut whenever its keys are pressed. What was bound before
    /// is given back first.
    virtual void bind(std::vector<Shortcut> shortcuts, std::function<void(std::string_view id)> pressed) = 0;
    /// Nothing when none are bound.
    virtual void unbind() = 0;
};

} // namespace velto
