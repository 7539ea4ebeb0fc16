// XdgAutostart: launch at login as the desktop's sessions know it: an entry of ours in the user's autostart
// folder.
//
// Main actor only. Others may change the entry: desktops switch one off by a key in it. The user is never
// asked for approval, and there is no common place to show the entries.
#pragma once

#include "VeltoCore/Services/LoginItemService.h"

#include <filesystem>
#include <optional>
#include <string>

namespace velto {

class XdgAutostart final : public LoginItemService {
  public:
    /// The program to start, as an absolute path, and the file of its entry.
    XdgAutostart(std::filesystem::path program, std::filesystem::path file);

    /// The program that runs.
    static std::filesystem::path runningProgram();
    /// `$XDG_CONFIG_HOME/autostart/com.corlent.velto.desktop`, by default below `~/.config`.
    static std::filesystem::path standardFile();
    /// The path as the value of an entry's Exec key. None for a path that can't be one: a relative one, and
    /// one with a control character or an equals sign.
    static std::optional<std::string> execValue(const std::filesystem::path& program);

    /// Installed programs lie in a folder `bin`; one in a build folder may be gone tomorrow.
    bool isAvailable() const noexcept override;
    /// Enabled if there is an entry that starts this very program and is not switched off.
    Status status() const noexcept override;
    void registerItem() override;
    void unregisterItem() override;
    void openLoginItemsSettings() override {}

  private:
    std::filesystem::path program_;
    std::filesystem::path file_;
};

} // namespace velto
