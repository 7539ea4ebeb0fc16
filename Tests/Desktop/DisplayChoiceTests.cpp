#include "Velto/Linux/DisplayChoice.h"

#include "Tests/UI/VirtualScreen.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <gmock/gmock.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <string>

namespace velto {
namespace {

/// Sets variables of the environment until it dies.
class ChangedEnvironment {
  public:
    explicit ChangedEnvironment(const std::map<std::string, std::string>& values) {
        for (const auto& [name, value] : values) {
            before_[name] = qgetenv(name.c_str());
            qputenv(name.c_str(), QByteArray::fromStdString(value));
        }
    }
    ChangedEnvironment(const ChangedEnvironment&) = delete;
    ChangedEnvironment& operator=(const ChangedEnvironment&) = delete;
    ~ChangedEnvironment() {
        for (const auto& [name, value] : before_)
            value.isNull() ? qunsetenv(name.c_str()) : qputenv(name.c_str(), value);
    }

  private:
    std::map<std::string, QByteArray> before_;
};

/// A socket that programs can connect to, as a Wayland desktop has one.
class ListeningSocket {
  public:
    explicit ListeningSocket(const std::string& path) : socket_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(socket_, 16), 0);
    }
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;
    ~ListeningSocket() { close(socket_); }

  private:
    int socket_;
};

TEST(DisplayChoiceTests, XComesFirstThenWaylandAndWithoutEitherASentenceSaysWhy) {
    const VirtualScreen screen;
    const OwnedFolder folder("velto-display");
    const std::string run = folder.path();
    const ListeningSocket wayland(run + "/wayland-7");
    std::ofstream(folder.path() / "libqwayland-generic.so");
    const std::string none = run + "/nowhere";
    const std::string x = screen.display();
    const struct {
        std::string chosen, display, waylandDisplay, parts;
        const char* platform;
        const char* obstacle;
    } cases[]{
        {"", x, "", none, "xcb", ""},
        {"", x, "wayland-7", run, "xcb", ""},
        {"wayland", x, "wayland-7", run, "", ""}, // the user's own word
        {"", ":nowhere", "wayland-7", run, "wayland", ""},
        {"", "", run + "/wayland-7", run, "wayland", ""},
        {"", "", "wayland-7", none, "",
         "Windows on a Wayland desktop without X need the package qt6-wayland."},
        {"", "", "wayland-8", run, "", "The display that the environment names does not answer."},
        {"", ":nowhere", "", run, "", "The display that the environment names does not answer."},
    };
    for (const auto& c : cases) {
        const ChangedEnvironment environment({{"QT_QPA_PLATFORM", c.chosen},
                                              {"DISPLAY", c.display},
                                              {"WAYLAND_DISPLAY", c.waylandDisplay},
                                              {"XDG_RUNTIME_DIR", run}});
        const DisplayChoice choice = DisplayChoice::make(c.parts);
        EXPECT_EQ(choice.platform, c.platform) << c.chosen << c.display << c.waylandDisplay;
        EXPECT_EQ(choice.obstacle, c.obstacle) << c.chosen << c.display << c.waylandDisplay;
    }
}

} // namespace
} // namespace velto
