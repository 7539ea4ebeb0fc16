// DesktopNotifications: notifications as freedesktop.org describes them, over the session's bus.
//
// Owned by the program's entry point; main actor only. It is connected while a notification is shown, and at
// no other time: a program at rest hears nothing from the bus. Without a bus, or a program that shows
// notifications, nothing is shown, which is logged.
#pragma once

#include "Platform/Linux/BusConnection.h"
#include "VeltoCore/Services/NotificationService.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace velto {

class DesktopNotifications final : public NotificationService {
  public:
    /// `busAddress` is a D-Bus address; empty for the bus of the user's session, whichever is that then.
    explicit DesktopNotifications(FileDescriptorWatcher& watcher, std::string busAddress = {});
    ~DesktopNotifications() override;

    void show(Notification notification, AnswerHandler answered) override;
    void withdraw() override;

  private:
    struct Received;

    void connect();
    void disconnect();
    void send(const Notification& notification);
    void shown(std::uint32_t id);
    void failed(const std::string& reason);
    void closed(std::uint32_t id);
    void answer(std::uint32_t id, std::string_view key);

    FileDescriptorWatcher& watcher_;
    std::string busAddress_;
    std::shared_ptr<BusConnection> connection_; // none while nothing is shown
    AnswerHandler answered_;
    std::uint32_t id_ = 0; // of what is shown, as its shower calls it; 0 for nothing
    bool isSending_ = false;
    /// What is to come in the place of the one on its way, whose number isn't known yet.
    std::optional<Notification> next_;
    bool isWithdrawn_ = false;
};

} // namespace velto
