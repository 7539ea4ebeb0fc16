#include "Benchmarks/PrivateDesktop.h"

#include <poll.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace velto {

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::seconds patience{10};
constexpr std::uint16_t statusAreaSide = 24;
constexpr std::uint32_t dockRequest = 0;    // of the system tray protocol
constexpr std::uint32_t embeddedNotify = 0; // of XEmbed
constexpr std::size_t coloursOfAPicture = 4;
constexpr int stripeWidth = 8;

} // namespace

PrivateDesktop::PrivateDesktop(const std::filesystem::path& folder) {
    startBus(folder);
    startServer();
    becomeStatusArea();
}

PrivateDesktop::~PrivateDesktop() { xcb_disconnect(connection_); }

void PrivateDesktop::startBus(const std::filesystem::path& folder) {
    const std::filesystem::path configuration = folder / "bus.conf";
    std::ofstream(configuration) << "<busconfig><type>session</type><listen>unix:dir=" << folder.native()
                                 << "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                                    "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                                    "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>";
    bus_.emplace(std::vector<std::string>{"dbus-daemon", "--nofork", "--print-address",
                                          "--config-file=" + configuration.native()},
                 ChildProcess::Options{{}, "", true});
    const auto address = bus_->readLine(patience);
    if (!address) throw std::runtime_error("A private bus could not be started");
    busAddress_ = *address;
}

void PrivateDesktop::startServer() {
    server_.emplace(std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", "1280x800x24",
                                             "-nolisten", "tcp"},
                    ChildProcess::Options{{}, "", true});
    const auto number = server_->readLine(patience);
    if (!number) throw std::runtime_error("A private X server could not be started");
    display_ = ":" + *number;
    connection_ = xcb_connect(display_.c_str(), nullptr);
    if (xcb_connection_has_error(connection_))
        throw std::runtime_error("The private X server does not answer");
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
}

xcb_atom_t PrivateDesktop::atom(const std::string& name) const {
    const auto question =
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, question, nullptr),
                                               std::free);
    if (!reply) throw std::runtime_error("The private X server has ended");
    return reply->atom;
}

void PrivateDesktop::send(xcb_window_t window, xcb_atom_t type, std::uint32_t eventMask,
                          const std::array<std::uint32_t, 5>& data) const {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    std::ranges::copy(data, message.data.data32);
    xcb_send_event(connection_, 0, window, eventMask, reinterpret_cast<const char*>(&message));
}

void PrivateDesktop::becomeStatusArea() {
    const std::uint32_t rootEvents = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_, screen_->root, XCB_CW_EVENT_MASK, &rootEvents);
    statusArea_ = xcb_generate_id(connection_);
    const std::array<std::uint32_t, 2> values{1, XCB_EVENT_MASK_STRUCTURE_NOTIFY}; // placed by nobody else
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, statusArea_, screen_->root,
                      static_cast<std::int16_t>(screen_->width_in_pixels - statusAreaSide), 0, statusAreaSide,
                      statusAreaSide, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    xcb_map_window(connection_, statusArea_);
    trayOpcode_ = atom("_NET_SYSTEM_TRAY_OPCODE");
    const xcb_atom_t selection = atom("_NET_SYSTEM_TRAY_S0");
    xcb_set_selection_owner(connection_, statusArea_, selection, XCB_CURRENT_TIME);
    send(screen_->root, atom("MANAGER"), XCB_EVENT_MASK_STRUCTURE_NOTIFY,
         {XCB_CURRENT_TIME, selection, statusArea_, 0, 0});
    xcb_flush(connection_);
}

std::map<std::string, std::string> PrivateDesktop::environment() const {
    return {{"DISPLAY", display_},   {"DBUS_SESSION_BUS_ADDRESS", busAddress_},
            {"WAYLAND_DISPLAY", ""}, {"XDG_CURRENT_DESKTOP", ""},
            {"QT_QPA_PLATFORM", ""}, {"QT_QPA_PLATFORMTHEME", ""},
            {"NO_AT_BRIDGE", "1"}}; // for GTK: there is nothing to bridge to
}

void PrivateDesktop::forgetStatusItems() {
    // What the server answers comes after all that it has sent before.
    const Owned<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr), std::free);
    handleEvents();
    docked_.reset();
}

PrivateDesktop::Clock::time_point PrivateDesktop::awaitStatusItem() {
    await("No status item came", [this] { return docked_.has_value(); });
    return *docked_;
}

void PrivateDesktop::movePointerAway() {
    xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, screen_->root, 0,
                        static_cast<std::int16_t>(screen_->height_in_pixels - 1), 0);
    xcb_flush(connection_);
}

PrivateDesktop::Clock::time_point PrivateDesktop::clickStatusItem() {
    const auto x = static_cast<std::int16_t>(screen_->width_in_pixels - statusAreaSide / 2);
    const auto now = Clock::now();
    xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, screen_->root, x,
                        statusAreaSide / 2, 0);
    for (const std::uint8_t type : {XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE})
        xcb_test_fake_input(connection_, type, XCB_BUTTON_INDEX_1, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0,
                            0);
    xcb_flush(connection_);
    return now;
}

PrivateDesktop::Clock::time_point PrivateDesktop::awaitPaintedWindow() {
    return await("No window came", [this] {
        return std::ranges::any_of(windows_, [this](xcb_window_t window) { return isPainted(window); });
    });
}

PrivateDesktop::Clock::time_point PrivateDesktop::awaitNoWindow() {
    return await("A window stays", [this] { return windows_.empty(); });
}

PrivateDesktop::Clock::time_point PrivateDesktop::await(const char* what,
                                                        const std::function<bool()>& condition) {
    const auto deadline = Clock::now() + patience;
    for (;;) {
        handleEvents();
        if (condition()) return Clock::now();
        if (Clock::now() > deadline || xcb_connection_has_error(connection_)) throw std::runtime_error(what);
        pollfd ready{xcb_get_file_descriptor(connection_), POLLIN, 0};
        poll(&ready, 1, 1); // what is painted is not told
    }
}

void PrivateDesktop::handleEvents() {
    for (;;) {
        const Owned<xcb_generic_event_t> event(xcb_poll_for_event(connection_), std::free);
        if (!event) return;
        handle(*event);
    }
}

void PrivateDesktop::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7F) {
    case XCB_CLIENT_MESSAGE: {
        const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
        if (message.type == trayOpcode_ && message.data.data32[1] == dockRequest)
            embed(message.data.data32[2]);
        break;
    }
    case XCB_MAP_NOTIFY: {
        const auto& mapped = reinterpret_cast<const xcb_map_notify_event_t&>(event);
        if (mapped.event == screen_->root && mapped.window != statusArea_) windows_.insert(mapped.window);
        break;
    }
    case XCB_UNMAP_NOTIFY:
        windows_.erase(reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window);
        break;
    case XCB_DESTROY_NOTIFY:
        windows_.erase(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);
        break;
    default:
        break;
    }
}

void PrivateDesktop::embed(xcb_window_t icon) {
    docked_ = Clock::now();
    xcb_reparent_window(connection_, icon, statusArea_, 0, 0);
    const std::array<std::uint32_t, 2> size{statusAreaSide, statusAreaSide};
    xcb_configure_window(connection_, icon, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size.data());
    send(icon, atom("_XEMBED"), XCB_EVENT_MASK_NO_EVENT,
         {XCB_CURRENT_TIME, embeddedNotify, 0, statusArea_, 0});
    xcb_map_window(connection_, icon);
    xcb_flush(connection_);
}

/// Whether a stripe from its top to its bottom shows more than a ground and a frame.
bool PrivateDesktop::isPainted(xcb_window_t window) const {
    const Owned<xcb_get_geometry_reply_t> place(
        xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr), std::free);
    if (!place) return false;
    const int x = place->x + place->width / 2;
    const int top = std::max<int>(place->y, 0);
    const int bottom = std::min<int>(place->y + place->height, screen_->height_in_pixels);
    if (place->width < 2 * stripeWidth || x < 0 || x + stripeWidth > screen_->width_in_pixels ||
        top >= bottom)
        return false;
    const auto question = xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root,
                                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(top),
                                        stripeWidth, static_cast<std::uint16_t>(bottom - top), ~0U);
    const Owned<xcb_get_image_reply_t> image(xcb_get_image_reply(connection_, question, nullptr), std::free);
    if (!image) return false;
    const std::uint8_t* bytes = xcb_get_image_data(image.get());
    const auto size = static_cast<std::size_t>(xcb_get_image_data_length(image.get()));
    std::set<std::uint32_t> colours;
    for (std::size_t offset = 0; offset + 4 <= size && colours.size() < coloursOfAPicture; offset += 4) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, bytes + offset, sizeof pixel);
        colours.insert(pixel);
    }
    return colours.size() >= coloursOfAPicture;
}

} // namespace velto
