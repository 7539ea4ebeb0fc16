// SimulatedNotificationService: a desktop's notifications, and a user who may answer them.
#pragma once

#include "VeltoCore/Services/NotificationService.h"

#include <optional>
#include <string_view>
#include <utility>

namespace velto {

class SimulatedNotificationService final : public NotificationService {
  public:
    void show(Notification notification, AnswerHandler answered) override {
        shown = std::move(notification);
        answered_ = std::move(answered);
        ++count;
    }
    void withdraw() override {
        shown.reset();
        answered_ = {};
    }

    // Verbs

    void answer(std::string_view key) {
        shown.reset();
        if (const auto answered = std::exchange(answered_, {})) answered(key);
    }

    // Questions

    std::optional<Notification> shown;
    /// How many there have been.
    int count = 0;

  private:
    AnswerHandler answered_;
};

} // namespace velto
