#include "Velto/Shell/StatusItemViewModel.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

namespace velto {

namespace {

using PrimaryAction = MenuBarViewModel::PrimaryAction;
using Answer = MenuBarViewModel::DisconnectAnswer;

void addSeparator(std::vector<StatusMenuEntry>& menu) {
    menu.push_back({.key = fmt::format("separator {}", menu.size())});
}

std::string withDetail(std::string_view label, const std::string& detail) {
    return detail.empty() ? std::string(label) : fmt::format("{}: {}", label, detail);
}

} // namespace

std::string_view symbolName(StatusItemForm form) noexcept {
    switch (form) {
    case StatusItemForm::idle:
        return "speaker.wave.2";
    case StatusItemForm::playing:
        return "hifispeaker.2";
    case StatusItemForm::missing:
        return "hifispeaker";
    case StatusItemForm::asking:
        return "questionmark.circle";
    }
    return {};
}

std::string_view drawingName(StatusItemForm form) noexcept {
    switch (form) {
    case StatusItemForm::idle:
        return "idle";
    case StatusItemForm::playing:
        return "playing";
    case StatusItemForm::missing:
        return "missing";
    case StatusItemForm::asking:
        return "asking";
    }
    return {};
}

StatusItemForm StatusItemViewModel::form() const {
    const VeltoStatus status = menuBar_.status();
    if (menuBar_.disconnectQuestion()) return StatusItemForm::asking;
    if (status.is<VeltoStatus::Playing>()) return StatusItemForm::playing;
    return status.isPlaying() ? StatusItemForm::missing : StatusItemForm::idle;
}

std::string_view StatusItemViewModel::accessibilityText() const {
    return menuBar_.status().isPlaying() ? "Velto, playing together" : "Velto";
}

std::string StatusItemViewModel::toolTip() const {
    const bool isPlaying = menuBar_.status().is<VeltoStatus::Playing>();
    const auto volume = volumeText();
    return (isPlaying ? outputNames() : menuBar_.statusTitle()) + (volume ? ", " + *volume : "");
}

/// Of those that play, or would.
std::string StatusItemViewModel::outputNames() const {
    std::vector<std::string> names;
    for (const OutputCard& card : menuBar_.outputCards())
        if (card.output.isConnected) names.push_back(card.output.name);
    if (names.empty() && menuBar_.firstDevice() && menuBar_.secondDevice())
        names = {menuBar_.firstDevice()->name, menuBar_.secondDevice()->name};
    return fmt::format("{}", fmt::join(names, " + "));
}

/// None while nothing plays whose volume can be set.
std::optional<std::string> StatusItemViewModel::volumeText() const {
    if (menuBar_.isAllMuted()) return "muted";
    if (!menuBar_.hasMasterVolume()) return std::nullopt;
    return fmt::format("{:.0f}%", std::round(menuBar_.masterVolume() * 100));
}

std::vector<StatusMenuEntry> StatusItemViewModel::menu(const Actions& actions) const {
    std::vector<StatusMenuEntry> menu;
    addPlaying(menu);
    addFavorites(menu);
    addVolume(menu);
    addSeparator(menu);
    menu.push_back({.key = "open", .label = "Open Velto", .chosen = actions.open});
    menu.push_back({.key = "settings", .label = "Settings…", .chosen = actions.showSettings});
    addSeparator(menu);
    menu.push_back({.key = "quit", .label = "Quit Velto", .chosen = actions.quit});
    return menu;
}

void StatusItemViewModel::addPlaying(std::vector<StatusMenuEntry>& menu) const {
    if (const auto question = menuBar_.disconnectQuestion()) {
        for (const auto& [key, answer] :
             {std::pair("keep", Answer::keepPlaying), std::pair("stop", Answer::stopPlaying)})
            menu.push_back({.key = key,
                            .label = std::string(MenuBarViewModel::title(answer)),
                            .chosen = [this, answer = answer] { menuBar_.answerDisconnect(answer); }});
        return;
    }
    const PrimaryAction action = menuBar_.primaryAction();
    const std::string title = menuBar_.primaryActionTitle();
    menu.push_back({.key = action == PrimaryAction::stop ? "stop" : "play",
                    .label = action == PrimaryAction::preparing ? title : withDetail(title, outputNames()),
                    .isEnabled = menuBar_.isPrimaryActionEnabled(),
                    .chosen = [this, action] {
                        if (menuBar_.primaryAction() == action) menuBar_.performPrimaryAction();
                    }});
}

void StatusItemViewModel::addFavorites(std::vector<StatusMenuEntry>& menu) const {
    bool isFirst = true;
    for (const PresetRow& row : menuBar_.presets().presetRows()) {
        if (!row.isFavorite) continue;
        if (std::exchange(isFirst, false)) addSeparator(menu);
        menu.push_back({.key = "setup " + row.id.string(),
                        .label = row.name,
                        .isEnabled = row.isReady,
                        .isChecked = row.isActive,
                        .chosen = [this, id = row.id] { menuBar_.presets().activate(id); }});
    }
}

void StatusItemViewModel::addVolume(std::vector<StatusMenuEntry>& menu) const {
    const auto volume = volumeText();
    if (!menuBar_.canMuteAny() && !volume) return;
    addSeparator(menu);
    if (volume) menu.push_back({.key = "volume", .label = withDetail("Volume", *volume), .isEnabled = false});
    if (menuBar_.canMuteAny())
        menu.push_back({.key = "mute", .label = "Mute", .isChecked = menuBar_.isAllMuted(), .chosen = [this] {
                            menuBar_.toggleMuteAll();
                        }});
}

} // namespace velto
