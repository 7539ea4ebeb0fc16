#include "Tools/SoundLab/PrivateBus.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace velto {

namespace {

/// A bus that starts no programs by itself, and lets everybody do everything.
std::string writeConfiguration(const std::filesystem::path& folder) {
    const std::filesystem::path file = folder / "bus.conf";
    std::ofstream(file) << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
    "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=)" << folder.native()
                        << R"(</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
    return file;
}

} // namespace

PrivateBus::PrivateBus()
    : folder_("velto-bus"),
      daemon_({"dbus-daemon", "--config-file=" + writeConfiguration(folder_.path()), "--print-address",
               "--nofork", "--nosyslog"},
              {.environment = {}, .logFile = folder_.path() / "bus.log", .hasPipes = true}) {
    const auto address = daemon_.readLine(std::chrono::seconds(10));
    if (!address) throw std::runtime_error("The private message bus did not start");
    address_ = *address;
}

} // namespace velto
