// UserNotifications: notifications by the system's user-notification framework.
//
// Owned by the program's entry point; main actor only. The user is asked for permission when there is first
// something to tell. A program outside of a bundle has no notifications: nothing is shown then.
#pragma once

#include "VeltoCore/Services/NotificationService.h"

#include <memory>

namespace velto {

class UserNotifications final : public NotificationService {
  public:
    UserNotifications();
    UserNotifications(const UserNotifications&) = delete;
    UserNotifications& operator=(const UserNotifications&) = delete;
    ~UserNotifications() override;

    void show(Notification notification, AnswerHandler answered) override;
    void withdraw() override;

  private:
    struct Centre;

    std::unique_ptr<Centre> centre_; // none outside of a bundle
};

} // namespace velto
