#include "Platform/Linux/PortalShortcuts.h"

#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* interface = "org.freedesktop.portal.GlobalShortcuts";
/// Desktops that can't tell who asks show it as the program's name.
constexpr const char* sessionToken = "Velto";
constexpr const char* sessionRequest = "velto_make_session";
constexpr const char* bindRequest = "velto_bind";

void require(int result) { BusConnection::require(result); }

/// Calls `take` with the name of each entry of a dictionary that can be read next; it reads the value, or
/// skips the variant.
template <class Take>
void readDictionary(sd_bus_message* message, const Take& take) {
    if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) return;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* name = nullptr;
        if (sd_bus_message_read(message, "s", &name) <= 0 || !take(std::string_view(name)))
            sd_bus_message_skip(message, "v");
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
}

void appendShortcuts(sd_bus_message* message, const std::vector<GlobalShortcutService::Shortcut>& shortcuts) {
    require(sd_bus_message_open_container(message, 'a', "(sa{sv})"));
    for (const auto& [id, description, keys] : shortcuts)
        require(sd_bus_message_append(message, "(sa{sv})", id.c_str(), 1, "description", "s",
                                      description.c_str()));
    require(sd_bus_message_close_container(message));
}

/// Plasma 5.27 takes the shortcuts from here, and nothing of those that are bound in the session.
void composeSession(sd_bus* bus, sd_bus_message*& message,
                    const std::vector<GlobalShortcutService::Shortcut>& shortcuts) {
    require(sd_bus_message_new_method_call(bus, &message, portal, portalPath, interface, "CreateSession"));
    require(sd_bus_message_open_container(message, 'a', "{sv}"));
    require(sd_bus_message_append(message, "{sv}{sv}", "handle_token", "s", sessionRequest,
                                  "session_handle_token", "s", sessionToken));
    require(sd_bus_message_open_container(message, 'e', "sv"));
    require(sd_bus_message_append(message, "s", "shortcuts"));
    require(sd_bus_message_open_container(message, 'v', "a(sa{sv})"));
    appendShortcuts(message, shortcuts);
    for (int open = 0; open < 3; ++open)
        require(sd_bus_message_close_container(message));
}

/// Where the portal answers a request with that token.
std::string requestPath(sd_bus* bus, const char* token) {
    const char* name = nullptr;
    require(sd_bus_get_unique_name(bus, &name));
    std::string sender(name + 1); // without its colon
    std::ranges::replace(sender, '.', '_');
    return std::string(portalPath) + "/request/" + sender + "/" + token;
}

} // namespace

/// What comes from the bus.
struct PortalShortcuts::Received {
    using Taken = void (PortalShortcuts::*)(sd_bus_message* results);

    static PortalShortcuts& of(void* data) { return *static_cast<PortalShortcuts*>(data); }

    /// The answer to the call itself only says that the request was understood.
    static int called(sd_bus_message* message, void* data, sd_bus_error*) {
        if (const sd_bus_error* error = sd_bus_message_get_error(message)) {
            of(data).fail(State::unavailable, error->message ? error->message : error->name);
        }
        return 0;
    }
    /// By now the bus has told this connection's name, too, by which the answers to requests are found.
    static int isThere(sd_bus_message* message, void* data, sd_bus_error* error) {
        if (sd_bus_message_get_error(message)) return called(message, data, error);
        of(data).createSession();
        return 0;
    }
    static int inquired(sd_bus_message* message, void* data, sd_bus_error*) {
        PortalShortcuts& self = of(data);
        self.disconnect();
        self.change(sd_bus_message_get_error(message) ? State::unavailable : State::available);
        return 0;
    }
    static int responded(sd_bus_message* message, PortalShortcuts& self, Taken taken) {
        std::uint32_t code = 0;
        if (sd_bus_message_read(message, "u", &code) < 0) return 0;
        if (code == 0) {
            (self.*taken)(message);
        } else {
            self.disconnect();
            self.change(State::refused);
        }
        return 0;
    }
    static int sessionMade(sd_bus_message* message, void* data, sd_bus_error*) {
        return responded(message, of(data), &PortalShortcuts::sessionMade);
    }
    static int bound(sd_bus_message* message, void* data, sd_bus_error*) {
        return responded(message, of(data), &PortalShortcuts::bound);
    }
    static int activated(sd_bus_message* message, void* data, sd_bus_error*) {
        const char* session = nullptr;
        const char* id = nullptr;
        PortalShortcuts& self = of(data);
        if (sd_bus_message_read(message, "os", &session, &id) >= 0 && self.session_ == session) {
            const auto pressed = self.pressed_; // it may give the shortcuts back
            if (pressed) pressed(std::string(id));
        }
        return 0;
    }
    static int changed(sd_bus_message* message, void* data, sd_bus_error*) {
        const char* session = nullptr;
        PortalShortcuts& self = of(data);
        if (sd_bus_message_read(message, "o", &session) >= 0 && self.session_ == session)
            self.change(State::bound, self.readShortcuts(message));
        return 0;
    }
};

PortalShortcuts::PortalShortcuts(FileDescriptorWatcher& watcher, std::string busAddress)
    : watcher_(watcher), busAddress_(std::move(busAddress)) {}

PortalShortcuts::~PortalShortcuts() { disconnect(); }

void PortalShortcuts::change(State state, std::vector<Shortcut> shortcuts) {
    if (state_ == state && shortcuts_ == shortcuts) return;
    state_ = state;
    shortcuts_ = std::move(shortcuts);
    observers_.notify();
}

void PortalShortcuts::connect() {
    connection_ =
        BusConnection::open(watcher_, BusConnection::Bus::session, busAddress_, [this](const auto&) {
            disconnect();
            change(State::unknown);
        });
}

void PortalShortcuts::disconnect() {
    session_.clear();
    if (const auto ended = std::exchange(connection_, nullptr)) ended->end();
}

void PortalShortcuts::inquire() {
    if (state_ != State::unknown || connection_) return;
    try {
        connect();
        askForVersion(&Received::inquired);
    } catch (const std::runtime_error&) {
        disconnect();
        change(State::unavailable);
    }
}

void PortalShortcuts::bind(std::vector<Shortcut> shortcuts,
                           std::function<void(std::string_view id)> pressed) {
    unbind();
    wanted_ = std::move(shortcuts);
    pressed_ = std::move(pressed);
    try {
        connect();
        askForVersion(&Received::isThere);
    } catch (const std::runtime_error& error) {
        fail(State::unavailable, error.what());
    }
}

/// What a portal without global shortcuts refuses.
void PortalShortcuts::askForVersion(sd_bus_message_handler_t answered) {
    require(sd_bus_call_method_async(connection_->bus(), nullptr, portal, portalPath,
                                     "org.freedesktop.DBus.Properties", "Get", answered, this, "ss",
                                     interface, "version"));
}

void PortalShortcuts::fail(State state, const char* reason) {
    LoggingService::ui.notice("The desktop gives no global shortcuts: {}", reason);
    disconnect();
    change(state);
}

void PortalShortcuts::unbind() {
    pressed_ = {};
    if (connection_ && !session_.empty()) {
        sd_bus_call_method_async(connection_->bus(), nullptr, portal, session_.c_str(),
                                 "org.freedesktop.portal.Session", "Close", nullptr, nullptr, "");
    }
    disconnect();
    if (state_ == State::bound) change(State::available);
}

void PortalShortcuts::createSession() try {
    sd_bus* bus = connection_->bus();
    const auto hear = [&](const std::string& path, const char* source, const char* signal,
                          sd_bus_message_handler_t handler) {
        require(sd_bus_match_signal_async(bus, nullptr, portal, path.c_str(), source, signal, handler,
                                          nullptr, this));
    };
    constexpr const char* request = "org.freedesktop.portal.Request";
    hear(requestPath(bus, sessionRequest), request, "Response", &Received::sessionMade);
    hear(requestPath(bus, bindRequest), request, "Response", &Received::bound);
    hear(portalPath, interface, "Activated", &Received::activated);
    hear(portalPath, interface, "ShortcutsChanged", &Received::changed);
    // Where the portal has this, it is told who asks; elsewhere it finds out by itself.
    sd_bus_call_method_async(bus, nullptr, portal, portalPath, "org.freedesktop.host.portal.Registry",
                             "Register", nullptr, nullptr, "sa{sv}", "com.corlent.velto", 0);
    BusMessage call;
    composeSession(bus, call.message, wanted_);
    require(sd_bus_call_async(bus, nullptr, call.message, &Received::called, this, 0));
} catch (const std::runtime_error& error) {
    fail(State::unavailable, error.what());
}

void PortalShortcuts::sessionMade(sd_bus_message* results) {
    readDictionary(results, [&](std::string_view name) {
        const char* path = nullptr;
        if (name != "session_handle" || sd_bus_message_read(results, "v", "s", &path) <= 0) return false;
        session_ = path;
        return true;
    });
    try {
        if (session_.empty()) throw std::runtime_error("no session was given");
        bindInSession();
    } catch (const std::runtime_error& error) {
        fail(State::refused, error.what());
    }
}

void PortalShortcuts::bindInSession() {
    BusMessage call;
    require(sd_bus_message_new_method_call(connection_->bus(), &call.message, portal, portalPath, interface,
                                           "BindShortcuts"));
    require(sd_bus_message_append(call.message, "o", session_.c_str()));
    appendShortcuts(call.message, wanted_);
    require(sd_bus_message_append(call.message, "sa{sv}", "", 1, "handle_token", "s", bindRequest));
    require(sd_bus_call_async(connection_->bus(), nullptr, call.message, &Received::called, this, 0));
}

void PortalShortcuts::bound(sd_bus_message* results) {
    std::vector<Shortcut> shortcuts;
    readDictionary(results, [&](std::string_view name) {
        if (name != "shortcuts" || sd_bus_message_enter_container(results, 'v', "a(sa{sv})") <= 0)
            return false;
        shortcuts = readShortcuts(results);
        sd_bus_message_exit_container(results);
        return true;
    });
    change(State::bound, std::move(shortcuts));
}

std::vector<GlobalShortcutService::Shortcut> PortalShortcuts::readShortcuts(sd_bus_message* message) const {
    std::vector<Shortcut> shortcuts;
    if (sd_bus_message_enter_container(message, 'a', "(sa{sv})") <= 0) return shortcuts;
    while (sd_bus_message_enter_container(message, 'r', "sa{sv}") > 0) {
        const char* id = nullptr;
        sd_bus_message_read(message, "s", &id);
        const auto known = std::ranges::find(wanted_, std::string_view(id ? id : ""), &Shortcut::id);
        Shortcut shortcut = known == wanted_.end() ? Shortcut() : *known;
        readDictionary(message, [&](std::string_view name) {
            const char* keys = nullptr;
            if (name != "trigger_description" || sd_bus_message_read(message, "v", "s", &keys) <= 0)
                return false;
            shortcut.keys = keys;
            return true;
        });
        if (!shortcut.id.empty()) shortcuts.push_back(std::move(shortcut));
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    return shortcuts;
}

} // namespace velto
