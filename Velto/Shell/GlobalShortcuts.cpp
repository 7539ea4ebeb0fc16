#include "Velto/Shell/GlobalShortcuts.h"

namespace velto {

namespace {

constexpr std::string_view playOrStop = "play-or-stop";
constexpr std::string_view mute = "mute";
/// Where the desktop has none, its own settings can call a program at a key.
constexpr const char* commands =
    "In its keyboard settings, bind keys to the commands “velto toggle” and “velto mute toggle”.";

} // namespace

GlobalShortcuts::GlobalShortcuts(GlobalShortcutService* service, MenuBarViewModel& menuBar,
                                 PreferencesManager& preferences)
    : service_(service), menuBar_(menuBar), preferences_(preferences) {}

void GlobalShortcuts::start() {
    if (!service_) return;
    settingSubscription_ = preferences_.globalShortcuts.observe([this] { follow(); });
    if (preferences_.globalShortcuts()) follow();
}

void GlobalShortcuts::stop() {
    settingSubscription_.reset();
    if (service_) service_->unbind();
}

void GlobalShortcuts::follow() {
    if (!preferences_.globalShortcuts()) return service_->unbind();
    service_->bind(
        {{std::string(playOrStop), "Play together or stop"}, {std::string(mute), "Mute or unmute"}},
        [this](std::string_view id) { pressed(id); });
}

void GlobalShortcuts::pressed(std::string_view id) {
    if (id == playOrStop) menuBar_.performPrimaryAction();
    if (id == mute) menuBar_.toggleMuteAll();
}

std::string GlobalShortcuts::help(const GlobalShortcutService& service) {
    using State = GlobalShortcutService::State;
    switch (service.state()) {
    case State::unknown:
    case State::available:
        return "Keys that play or stop, and that mute, in any program. The desktop assigns them.";
    case State::refused:
        return std::string("The desktop did not allow them. ") + commands;
    case State::unavailable:
        return std::string("This desktop has none for programs. ") + commands;
    case State::bound:
        break;
    }
    std::string text;
    bool haveKeys = true;
    for (const auto& [id, description, keys] : service.shortcuts()) {
        text += (text.empty() ? "" : "; ") + description + ": " + (keys.empty() ? "no keys yet" : keys);
        haveKeys = haveKeys && !keys.empty();
    }
    if (text.empty()) return "The desktop has bound none. Its keyboard settings have them.";
    return text + (haveKeys ? "." : ". The desktop's keyboard settings assign them.");
}

} // namespace velto
