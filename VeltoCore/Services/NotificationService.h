// NotificationService: tells the user something by the desktop, while nobody may be looking at the program.
//
// Owned by the program's entry point; main actor only. There is one notification at a time: the next one
// takes its place. Where the desktop shows none, nothing is shown.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

struct Notification {
    /// The key of a click on the notification itself, which asks for more.
    static constexpr std::string_view opened = "default";

    struct Answer {
        /// For the program.
        std::string key;
        /// For the user, on a button.
        std::string title;

        friend bool operator==(const Answer&, const Answer&) = default;
    };

    /// Any text; the names of outputs and presets belong here.
    std::string title;
    /// A sentence of the program's own.
    std::string text;
    /// A question stays until it is answered; without answers it is none.
    std::vector<Answer> answers = {};

    friend bool operator==(const Notification&, const Notification&) = default;
};

class NotificationService {
  public:
    using AnswerHandler = std::function<void(std::string_view key)>;

    virtual ~NotificationService() = default;
    /// The handler is called at most once, on the main actor, when the user takes one of the answers, or
    /// clicks on the notification itself.
    virtual void show(Notification notification, AnswerHandler answered) = 0;
    /// Takes the notification back; its handler is not called any more. Nothing when none is shown.
    virtual void withdraw() = 0;
};

} // namespace velto
