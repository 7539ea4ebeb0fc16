// PortalShortcuts: global shortcuts by the desktop's portal (org.freedesktop.portal.GlobalShortcuts).
//
// Owned by the program's entry point; main actor only. Connected to the session's bus while it asks or has
// bound shortcuts, and at no other time. Every answer comes as a signal of a request whose path is known
// before it is made.
#pragma once

#include "Platform/Linux/BusConnection.h"
#include "VeltoCore/Services/GlobalShortcutService.h"

#include <memory>
#include <string>

namespace velto {

class PortalShortcuts final : public GlobalShortcutService {
  public:
    /// `busAddress` is a D-Bus address; empty for the bus of the user's session, whichever is that then.
    explicit PortalShortcuts(FileDescriptorWatcher& watcher, std::string busAddress = {});
    ~PortalShortcuts() override;

    State state() const override { return state_; }
    const std::vector<Shortcut>& shortcuts() const override { return shortcuts_; }
    Subscription observe(std::function<void()> handler) override {
        return observers_.observe(std::move(handler));
    }
    void inquire() override;
    void bind(std::vector<Shortcut> shortcuts, std::function<void(std::string_view id)> pressed) override;
    void unbind() override;

  private:
    struct Received;

    void connect();
    void disconnect();
    void change(State state, std::vector<Shortcut> shortcuts = {});
    void fail(State state, const char* reason);
    void askForVersion(sd_bus_message_handler_t answered);
    void createSession();
    void bindInSession();
    void sessionMade(sd_bus_message* results);
    void bound(sd_bus_message* results);
    std::vector<Shortcut> readShortcuts(sd_bus_message* message) const;

    FileDescriptorWatcher& watcher_;
    std::string busAddress_;
    ObserverList observers_;
    State state_ = State::unknown;
    std::vector<Shortcut> wanted_;
    std::vector<Shortcut> shortcuts_;
    std::function<void(std::string_view id)> pressed_;
    std::shared_ptr<BusConnection> connection_; // none while nothing is asked or bound
    std::string session_;                       // its path; empty before it is made
};

} // namespace velto
