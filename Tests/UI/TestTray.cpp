#include "Tests/UI/TestTray.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace velto {

namespace {

struct Freed {
    void operator()(void* reply) const noexcept { std::free(reply); }
};

constexpr std::uint32_t requestDock = 0;
constexpr std::uint16_t iconSize = 24;

} // namespace

TestTray::TestTray() : connection_(xcb_connect(nullptr, nullptr)), window_(xcb_generate_id(connection_)) {
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen->root, 1200, 0, iconSize, iconSize,
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    xcb_map_window(connection_, window_);
    xcb_set_selection_owner(connection_, window_, atom("_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr)); // is done
}

xcb_atom_t TestTray::atom(std::string_view name) const {
    const auto question =
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Freed> reply(
        xcb_intern_atom_reply(connection_, question, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void TestTray::moveTo(int x, int y) {
    const std::array place{static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
    xcb_configure_window(connection_, window_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, place.data());
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void TestTray::serve() {
    const xcb_atom_t opcode = atom("_NET_SYSTEM_TRAY_OPCODE");
    while (const std::unique_ptr<xcb_generic_event_t, Freed> event{xcb_poll_for_event(connection_)}) {
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE) continue;
        const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        if (message->type != opcode || message->data.data32[1] != requestDock) continue;
        const xcb_window_t icon = message->data.data32[2];
        xcb_reparent_window(connection_, icon, window_, 0, 0);
        xcb_map_window(connection_, icon);
        ++iconCount_;
    }
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

} // namespace velto
