// PrivateDesktop: a desktop to measure programs on: an X server without a screen, a status area, and a bus.
//
// Without a window manager. One thread; all of it ends with the object.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"

#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace velto {

class PrivateDesktop {
  public:
    using Clock = std::chrono::steady_clock;

    /// Keeps its files in the folder, which must outlive it. Throws std::runtime_error with one sentence.
    explicit PrivateDesktop(const std::filesystem::path& folder);
    PrivateDesktop(const PrivateDesktop&) = delete;
    PrivateDesktop& operator=(const PrivateDesktop&) = delete;
    ~PrivateDesktop();

    /// What a program needs to find this desktop and nothing else.
    std::map<std::string, std::string> environment() const;

    /// Before a program is started that is to have a status item.
    void forgetStatusItems();

    // Each answers when it happened, and throws std::runtime_error when it doesn't within ten seconds.

    /// A program asks for a place in the status area for the first time; it gets it.
    Clock::time_point awaitStatusItem();
    /// To where nothing is: a status item under the pointer tells what it is.
    void movePointerAway();
    /// Clicks the status item that came last.
    Clock::time_point clickStatusItem();
    /// A window is on the screen, and something is painted in it.
    Clock::time_point awaitPaintedWindow();
    Clock::time_point awaitNoWindow();

  private:
    template <class Reply>
    using Owned = std::unique_ptr<Reply, void (*)(void*)>;

    void startBus(const std::filesystem::path& folder);
    void startServer();
    void becomeStatusArea();
    xcb_atom_t atom(const std::string& name) const;
    void send(xcb_window_t window, xcb_atom_t type, std::uint32_t eventMask,
              const std::array<std::uint32_t, 5>& data) const;
    void embed(xcb_window_t icon);
    void handleEvents();
    void handle(const xcb_generic_event_t& event);
    bool isPainted(xcb_window_t window) const;
    Clock::time_point await(const char* what, const std::function<bool()>& condition);

    std::optional<ChildProcess> bus_;
    std::string busAddress_;
    std::optional<ChildProcess> server_;
    std::string display_;
    xcb_connection_t* connection_ = nullptr;
    const xcb_screen_t* screen_ = nullptr;
    xcb_window_t statusArea_ = XCB_WINDOW_NONE;
    xcb_atom_t trayOpcode_ = XCB_ATOM_NONE;
    std::optional<Clock::time_point> docked_;
    std::set<xcb_window_t> windows_;
};

} // namespace velto
