#include "Velto/Linux/DisplayChoice.h"

#include "Velto/Linux/X11Settings.h"

#include <QLibraryInfo>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

namespace velto {

namespace {

namespace fs = std::filesystem;

constexpr double usualResolution = 96; // dots an inch

std::string variable(const char* name) { return qgetenv(name).toStdString(); }

/// Qt goes by the resolution that is told for text; desktops of GTK may scale windows beside it.
int scaleBesideQt(xcb_connection_t* connection) {
    const int scale = x11Setting(connection, "Gdk/WindowScalingFactor").toInt();
    const double resolution = x11Setting(connection, "Xft/DPI").toDouble() / 1024;
    return scale > 1 && resolution < usualResolution * (scale - 0.5) ? scale : 1;
}

/// How large things are there; none where no server answers.
std::optional<int> scaleOnX11() {
    if (variable("DISPLAY").empty()) return std::nullopt;
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), xcb_disconnect);
    if (xcb_connection_has_error(connection.get()) != 0) return std::nullopt;
    return scaleBesideQt(connection.get());
}

bool answersWayland() {
    const std::string name = variable("WAYLAND_DISPLAY");
    if (name.empty()) return false;
    const std::string path = (fs::path(variable("XDG_RUNTIME_DIR")) / name).native(); // or the name's own
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return false;
    path.copy(address.sun_path, path.size());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0) return false;
    const bool answers = connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(socket);
    return answers;
}

bool hasPlatform(const fs::path& folder, std::string_view name) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().native().starts_with(name)) return true;
    return false;
}

} // namespace

DisplayChoice DisplayChoice::make() {
    return make((QLibraryInfo::path(QLibraryInfo::PluginsPath) + QLatin1String("/platforms")).toStdString());
}

DisplayChoice DisplayChoice::make(const std::string& platformFolder) {
    if (!variable("QT_QPA_PLATFORM").empty()) return {};
    if (const auto scale = scaleOnX11()) return {"xcb", *scale, {}};
    if (!answersWayland()) return {{}, 1, "The display that the environment names does not answer."};
    if (hasPlatform(platformFolder, "libqwayland")) return {"wayland", 1, {}};
    return {{}, 1, "Windows on a Wayland desktop without X need the package qt6-wayland."};
}

} // namespace velto
