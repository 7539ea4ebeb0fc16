// TestTray: an XEmbed tray on the tests' screen, which takes in the icons that ask for a place.
//
// Owned by a test; another client of the server than the program, as a desktop's panel is.
#pragma once

#include <xcb/xcb.h>

#include <string_view>

namespace velto {

class TestTray {
  public:
    /// Owns the tray of the screen from now on.
    TestTray();
    TestTray(const TestTray&) = delete;
    TestTray& operator=(const TestTray&) = delete;
    ~TestTray() { xcb_disconnect(connection_); }

    /// As a bar does that grows, with all that lies in it.
    void moveTo(int x, int y);
    /// Takes in those who have asked so far.
    void serve();
    int iconCount() const noexcept { return iconCount_; }

  private:
    xcb_atom_t atom(std::string_view name) const;

    xcb_connection_t* connection_;
    xcb_window_t window_;
    int iconCount_ = 0;
};

} // namespace velto
