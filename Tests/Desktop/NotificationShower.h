// NotificationShower: shows no notifications, and notes what it is told. On a bus of the test's own.
#pragma once

#include "Platform/Linux/BusConnection.h"
#include "VeltoCore/Services/NotificationService.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class NotificationShower {
  public:
    static constexpr const char* service = "org.freedesktop.Notifications";
    static constexpr const char* path = "/org/freedesktop/Notifications";

    NotificationShower(FileDescriptorWatcher& watcher, const std::string& bus)
        : connection_(BusConnection::open(watcher, BusConnection::Bus::session, bus, {})) {
        BusConnection::require(sd_bus_add_object(connection_->bus(), nullptr, path, &called, this));
        BusConnection::require(sd_bus_request_name(connection_->bus(), service, 0));
    }
    ~NotificationShower() { connection_->end(); }

    void emit(const char* signal, const char* types, auto... values) {
        sd_bus_emit_signal(connection_->bus(), path, service, signal, types, values...);
        connection_->flush();
    }

    std::vector<std::string> told;
    std::uint32_t lastID = 0;

  private:
    static int called(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& self = *static_cast<NotificationShower*>(data);
        const std::string_view member = sd_bus_message_get_member(message);
        if (member == "Notify") return self.notify(message);
        if (member != "CloseNotification") return 0;
        std::uint32_t id = 0;
        sd_bus_message_read(message, "u", &id);
        self.told.push_back("close " + std::to_string(id));
        return sd_bus_reply_method_return(message, "");
    }
    int notify(sd_bus_message* message) {
        const char *program = nullptr, *icon = nullptr, *title = nullptr, *text = nullptr, *word = nullptr;
        std::uint32_t replaced = 0;
        sd_bus_message_read(message, "susss", &program, &replaced, &icon, &title, &text);
        std::string line = std::to_string(replaced) + " " + title + ": " + text;
        sd_bus_message_enter_container(message, 'a', "s");
        sd_bus_message_read(message, "ss", &word, nullptr); // a click on it, which each has
        EXPECT_EQ(word, Notification::opened);
        while (sd_bus_message_read(message, "s", &word) > 0)
            line += std::string(" ") + word;
        sd_bus_message_exit_container(message);
        std::int32_t expires = 0;
        sd_bus_message_skip(message, "a{sv}");
        sd_bus_message_read(message, "i", &expires);
        told.push_back(line + (expires == 0 ? " until answered" : ""));
        lastID = replaced ? replaced : lastID + 1;
        return sd_bus_reply_method_return(message, "u", lastID);
    }

    std::shared_ptr<BusConnection> connection_;
};

} // namespace velto
