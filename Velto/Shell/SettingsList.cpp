#include "Velto/Shell/SettingsList.h"

#include "Velto/Shell/GlobalShortcuts.h"
#include "Velto/Shell/OutputNames.h"

#include <fmt/format.h>

#include <algorithm>
#include <type_traits>
#include <utility>

namespace velto {

namespace {

using Kind = SettingRow::Kind;

struct Text {
    std::string operator()(bool isOn) const { return isOn ? "on" : "off"; }
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(const Data&) const { return {}; }
    std::string operator()(auto number) const { return fmt::format("{}", number); }
};

std::string textOf(const DefaultsValue& value) { return std::visit(Text{}, value); }

/// An enumeration's values, by their stored form, with what there is to say about each.
template <const auto& all>
std::vector<SettingChoice> choices(const PlatformWords& words) {
    std::vector<SettingChoice> choices;
    for (const auto value : all) {
        SettingChoice choice{*StoredForm<std::remove_const_t<decltype(value)>>::encode(value),
                             std::string(title(value))};
        if constexpr (requires { explanation(value, words); }) choice.help = explanation(value, words);
        choices.push_back(std::move(choice));
    }
    return choices;
}

} // namespace

std::string SettingRow::text() const { return textOf(value); }

std::expected<DefaultsValue, std::string> SettingRow::parsed(std::string_view text) const {
    std::string possible;
    switch (kind) {
    case Kind::toggle:
        if (text == "on" || text == "off") return text == "on";
        possible = "on, off";
        break;
    case Kind::choice:
        for (const SettingChoice& choice : choices) {
            if (textOf(choice.value) == text || choice.title == text) return choice.value;
            const std::string value = textOf(choice.value);
            possible += (possible.empty() ? "" : ", ") + (value.empty() ? choice.title : value);
        }
        break;
    case Kind::text:
        return std::string(text);
    case Kind::level: {
        constexpr double percent = 100;
        const bool isPercentage = text.ends_with('%');
        const std::string number(text.substr(0, text.size() - (isPercentage ? 1 : 0)));
        const double level = asDouble(number) / (isPercentage ? percent : 1);
        const bool isNumber = !number.empty() && number.find_first_not_of("0123456789.") == std::string::npos;
        if (isNumber && level >= 0 && level <= 1) return level;
        possible = "a number from 0 to 1, or from 0% to 100%";
        break;
    }
    }
    return std::unexpected("“" + label + "” takes: " + possible + ".");
}

/// A row as it is written down. What depends on the moment is asked for when it is shown.
struct SettingsList::Declared {
    Kind kind;
    /// None for launch at login, which the platform keeps.
    AnySetting* setting;
    std::string_view label;
    std::string_view help = {};
    std::function<std::vector<SettingChoice>(const PlatformWords&)> choices = {};
    /// What a change brings with it.
    std::function<void()> changed = {};

    std::string_view key() const { return setting ? setting->key() : "launchAtLogin"; }
};

struct SettingsList::Section {
    std::string_view tab;
    std::string_view title;
    std::vector<Declared> rows;
};

std::vector<SettingsList::Section> SettingsList::declarations() {
    PreferencesManager& all = preferences_;
    return {
        {"General",
         "Start-up",
         {{Kind::toggle, nullptr, "Launch Velto at Login"},
          {.kind = Kind::toggle,
           .setting = &all.showInDock,
           .label = host_.words().dockSwitch,
           .changed = [this] { applyShowInDock(); }},
          {Kind::toggle, &all.rememberSelectedDevices, "Remember the last outputs",
           "Velto fills in the two outputs that played together last."}}},
        {"General",
         "While the panel is closed",
         {{Kind::toggle, &all.showNotifications, "Show notifications",
           "Tells what happens by itself, such as an output that is lost."},
          {.kind = Kind::toggle,
           .setting = &all.globalShortcuts,
           .label = shortcuts_ ? "Global shortcuts" : ""}}},
        {"General",
         "Automation",
         {{Kind::toggle, &all.autoConnect, "Auto Connect saved setups",
           "A setup with Auto Connect starts by itself once all of its outputs are connected."},
          {Kind::toggle, &all.autoReconnect, "Reconnect automatically",
           "Velto plays together again when a lost output comes back."},
          {Kind::choice, &all.disconnectBehavior, "When an output disconnects", "",
           choices<allDisconnectBehaviors>}}},
        {"Audio",
         "Combined output",
         {{Kind::choice, &all.preferredSampleRate, "Preferred sample rate",
           "Used when every output supports it. Otherwise Velto picks the best rate they share.",
           choices<allPreferredSampleRates>},
          {Kind::choice, &all.clockStrategy, "Clock", "", choices<allClockStrategies>},
          {Kind::text, &all.aggregateDeviceName, "Output name",
           "What the system calls the combined output while Velto plays."}}},
        {"Sync", "Sync test", {{Kind::level, &all.syncTestVolume, "Click volume"}}},
        {"Sync",
         "Sync engine",
         {{Kind::choice, &all.defaultReferenceDeviceUID, "Reference output",
           "The output that the others are measured against.",
           [this](const auto&) { return referenceChoices(); }}}},
        {"Sync",
         "Saved sync profiles",
         {{Kind::toggle, &all.rememberSyncProfiles, "Remember sync profiles"}}},
    };
}

SettingsList::SettingsList(PreferencesManager& preferences, LaunchAtLoginManager& launchAtLogin,
                           AudioDeviceManager& deviceManager, ApplicationHost& host,
                           const GlobalShortcutService* shortcuts)
    : preferences_(preferences), launchAtLogin_(launchAtLogin), deviceManager_(deviceManager), host_(host),
      shortcuts_(shortcuts), sections_(declarations()) {
    for (Section& section : sections_) // what the platform has no word for, it doesn't have
        std::erase_if(section.rows, [](const Declared& declared) { return declared.label.empty(); });
}

SettingsList::~SettingsList() = default;

std::vector<std::string> SettingsList::sections(std::string_view ofTab) const {
    std::vector<std::string> titles;
    for (const Section& section : sections_)
        if (section.tab == ofTab) titles.emplace_back(section.title);
    return titles;
}

std::vector<SettingRow> SettingsList::rows() const {
    std::vector<SettingRow> rows;
    for (const Section& section : sections_) {
        for (const Declared& declared : section.rows) {
            rows.push_back(shown(declared));
            rows.back().section = section.title;
        }
    }
    return rows;
}

const SettingsList::Declared* SettingsList::declared(std::string_view key) const {
    for (const Section& section : sections_)
        if (const auto found = std::ranges::find(section.rows, key, &Declared::key);
            found != section.rows.end())
            return &*found;
    return nullptr;
}

SettingRow SettingsList::shown(const Declared& declared) const {
    if (!declared.setting) return shownLaunchAtLogin(declared);
    SettingRow row{.key = std::string(declared.key()),
                   .kind = declared.kind,
                   .label = std::string(declared.label),
                   .help = std::string(declared.help),
                   .value = declared.setting->stored().value_or(std::string())};
    if (declared.setting == &preferences_.aggregateDeviceName) // as typed: it changes under nobody's fingers
        row.value = preferences_.aggregateDeviceName();
    if (declared.setting == &preferences_.globalShortcuts) {
        row.help = GlobalShortcuts::help(*shortcuts_);
        row.isAvailable = shortcuts_->state() != GlobalShortcutService::State::unavailable;
    }
    if (declared.choices) row.choices = declared.choices(host_.words());
    const auto chosen = std::ranges::find(row.choices, row.value, &SettingChoice::value);
    if (chosen != row.choices.end() && !chosen->help.empty()) row.help = chosen->help;
    return row;
}

SettingRow SettingsList::shownLaunchAtLogin(const Declared& declared) const {
    SettingRow row{.key = std::string(declared.key()),
                   .label = std::string(declared.label),
                   .help = launchAtLogin_.lastError().value_or(""),
                   .value = launchAtLogin_.isEnabled(),
                   .isAvailable = launchAtLogin_.isAvailable()};
    if (launchAtLogin_.requiresApproval()) {
        row.help = "Approve Velto in System Settings > General > Login Items.";
        row.action = "Open Login Items";
    }
    if (!row.isAvailable) row.help = host_.words().loginNeedsInstallation;
    return row;
}

bool SettingsList::set(std::string_view key, const DefaultsValue& value) {
    const Declared* found = declared(key);
    if (!found) return false;
    if (!found->setting) {
        launchAtLogin_.setEnabled(asBool(value));
        return true;
    }
    const bool isTaken = found->setting->setStored(value);
    if (isTaken && found->changed) found->changed();
    return isTaken;
}

void SettingsList::act(std::string_view key) {
    const Declared* found = declared(key);
    if (found && !found->setting) launchAtLogin_.openLoginItemsSettings();
}

void SettingsList::applyShowInDock() {
    host_.setActivationPolicy(preferences_.showInDock() ? ApplicationHost::ActivationPolicy::regular
                                                        : ApplicationHost::ActivationPolicy::accessory);
}

/// No output, under an empty UID; those that are there; and the one chosen if it isn't.
std::vector<SettingChoice> SettingsList::referenceChoices() const {
    std::vector<SettingChoice> choices{{std::string(), "None"}};
    const std::string chosen = preferences_.defaultReferenceDeviceUID().value_or("");
    const OutputNames names(deviceManager_.selectableDevices());
    for (const AudioOutputDevice& device : deviceManager_.selectableDevices())
        choices.push_back({device.uid, names.distinct(device.uid, device.name)});
    if (!std::ranges::any_of(choices,
                             [&](const auto& choice) { return choice.value == DefaultsValue(chosen); }))
        choices.push_back({chosen, outputName(chosen)});
    return choices;
}

std::string SettingsList::outputName(const std::string& uid) const {
    if (const auto device = deviceManager_.device(uid)) return device->name;
    for (const AudioPreset& preset : preferences_.presets()) {
        if (preset.first.uid == uid) return preset.first.name;
        if (preset.second.uid == uid) return preset.second.name;
    }
    return uid;
}

} // namespace velto
