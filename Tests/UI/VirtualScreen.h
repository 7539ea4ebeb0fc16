// VirtualScreen: an X server of the tests' own, without hardware and without a window manager.
//
// Owned by the test program's entry point. It ends with the program, however that ends.
#pragma once

#include <sys/types.h>

#include <string>

namespace velto {

class VirtualScreen {
  public:
    /// Returns when the server takes connections. Throws std::runtime_error.
    VirtualScreen();
    VirtualScreen(const VirtualScreen&) = delete;
    VirtualScreen& operator=(const VirtualScreen&) = delete;
    ~VirtualScreen();

    /// Such as ":99".
    const std::string& display() const noexcept { return display_; }

  private:
    pid_t server_ = -1;
    std::string display_;
};

} // namespace velto
