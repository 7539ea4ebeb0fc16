#include "Platform/Linux/DesktopNotifications.h"

#include "VeltoCore/Services/LoggingService.h"

#include <stdexcept>
#include <utility>

namespace velto {

namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* path = "/org/freedesktop/Notifications";
constexpr std::int32_t asLongAsUsual = -1;
constexpr std::int32_t untilAnswered = 0;

void appendAnswers(sd_bus_message* message, const std::vector<Notification::Answer>& answers) {
    BusConnection::require(sd_bus_message_open_container(message, 'a', "s"));
    const std::string opened(Notification::opened); // which the bus calls so, too, and shows as no button
    BusConnection::require(sd_bus_message_append(message, "ss", opened.c_str(), "Open Velto"));
    for (const auto& [key, title] : answers)
        BusConnection::require(sd_bus_message_append(message, "ss", key.c_str(), title.c_str()));
    BusConnection::require(sd_bus_message_close_container(message));
}

} // namespace

/// What comes from the bus.
struct DesktopNotifications::Received {
    static int reply(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& self = *static_cast<DesktopNotifications*>(data);
        std::uint32_t id = 0;
        if (const sd_bus_error* error = sd_bus_message_get_error(message)) {
            self.failed(error->message ? error->message : error->name);
        } else if (sd_bus_message_read(message, "u", &id) < 0) {
            self.failed("the answer can't be read");
        } else {
            self.shown(id);
        }
        return 0;
    }
    static int closed(sd_bus_message* message, void* data, sd_bus_error*) {
        std::uint32_t id = 0;
        std::uint32_t reason = 0;
        if (sd_bus_message_read(message, "uu", &id, &reason) >= 0)
            static_cast<DesktopNotifications*>(data)->closed(id);
        return 0;
    }
    static int answered(sd_bus_message* message, void* data, sd_bus_error*) {
        std::uint32_t id = 0;
        const char* key = nullptr;
        if (sd_bus_message_read(message, "us", &id, &key) >= 0)
            static_cast<DesktopNotifications*>(data)->answer(id, key);
        return 0;
    }
};

DesktopNotifications::DesktopNotifications(FileDescriptorWatcher& watcher, std::string busAddress)
    : watcher_(watcher), busAddress_(std::move(busAddress)) {}

DesktopNotifications::~DesktopNotifications() { withdraw(); }

void DesktopNotifications::show(Notification notification, AnswerHandler answered) {
    answered_ = std::move(answered);
    isWithdrawn_ = false;
    if (isSending_) {
        next_ = std::move(notification);
        return;
    }
    try {
        if (!connection_) connect();
        send(notification);
    } catch (const std::runtime_error& error) {
        failed(error.what());
    }
}

void DesktopNotifications::connect() {
    connection_ = BusConnection::open(watcher_, BusConnection::Bus::session, busAddress_,
                                      [this](const auto&) { failed("the bus has gone"); });
    const auto hear = [this](const char* signal, sd_bus_message_handler_t handler) {
        BusConnection::require(sd_bus_match_signal_async(connection_->bus(), nullptr, service, path, service,
                                                         signal, handler, nullptr, this));
    };
    hear("NotificationClosed", &Received::closed);
    hear("ActionInvoked", &Received::answered);
}

void DesktopNotifications::disconnect() {
    id_ = 0;
    isSending_ = false;
    answered_ = {};
    next_.reset();
    if (const auto ended = std::exchange(connection_, nullptr)) ended->end();
}

void DesktopNotifications::send(const Notification& notification) {
    const bool isQuestion = !notification.answers.empty();
    constexpr std::uint8_t normal = 1;
    constexpr std::uint8_t critical = 2; // doesn't go by itself
    BusMessage call;
    sd_bus* bus = connection_->bus();
    BusConnection::require(
        sd_bus_message_new_method_call(bus, &call.message, service, path, service, "Notify"));
    BusConnection::require(sd_bus_message_append(call.message, "susss", "Velto", id_, "com.corlent.velto",
                                                 notification.title.c_str(), notification.text.c_str()));
    appendAnswers(call.message, notification.answers);
    BusConnection::require(sd_bus_message_append(
        call.message, "a{sv}i", 2, "desktop-entry", "s", "com.corlent.velto", "urgency", "y",
        isQuestion ? critical : normal, isQuestion ? untilAnswered : asLongAsUsual));
    BusConnection::require(sd_bus_call_async(bus, nullptr, call.message, &Received::reply, this, 0));
    isSending_ = true;
}

void DesktopNotifications::shown(std::uint32_t id) {
    id_ = id;
    isSending_ = false;
    if (isWithdrawn_) return withdraw();
    if (const auto next = std::exchange(next_, std::nullopt)) show(*next, std::exchange(answered_, {}));
}

void DesktopNotifications::failed(const std::string& reason) {
    LoggingService::ui.notice("A notification could not be shown: {}", reason);
    disconnect();
}

void DesktopNotifications::withdraw() {
    answered_ = {};
    next_.reset();
    isWithdrawn_ = isSending_;
    if (isSending_ || !connection_) return; // it is taken back once its number is known
    sd_bus_call_method_async(connection_->bus(), nullptr, service, path, service, "CloseNotification",
                             nullptr, nullptr, "u", id_);
    disconnect();
}

void DesktopNotifications::closed(std::uint32_t id) {
    if (id == id_ && !isSending_) disconnect();
}

void DesktopNotifications::answer(std::uint32_t id, std::string_view key) {
    if (id != id_ || isSending_) return; // of another program, or replaced by now
    const std::string taken(key);
    if (const auto answered = std::exchange(answered_, {})) answered(taken);
}

} // namespace velto
