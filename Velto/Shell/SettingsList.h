// SettingsList: the settings as people meet them, one row each, for all that show or change them alike.
//
// Part of the settings' view model; main actor only. The window repeats the rows under the headings of their
// sections; a command line finds them by their keys in rows(), and gives set() what parsed() made of a text.
// A new setting is a member of PreferencesManager and a row in SettingsList.cpp. It announces nothing: the
// view model does.
#pragma once

#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Services/ApplicationHost.h"
#include "VeltoCore/Services/GlobalShortcutService.h"
#include "VeltoCore/Services/UserDefaults.h"
#include "VeltoCore/Settings/LaunchAtLoginManager.h"
#include "VeltoCore/Settings/PreferencesManager.h"

#include <expected>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

/// One of the values that a setting can have.
struct SettingChoice {
    DefaultsValue value;
    std::string title;
    /// Empty where there is nothing to explain.
    std::string help = {};

    friend bool operator==(const SettingChoice&, const SettingChoice&) = default;
};

struct SettingRow {
    /// On or off, one of the choices, a text as typed, a number from 0 to 1.
    enum class Kind { toggle, choice, text, level };

    /// The heading above it.
    std::string section = {};
    /// As the setting is stored, such as "autoReconnect".
    std::string key;
    Kind kind = Kind::toggle;
    std::string label;
    /// What it means, in a sentence or two; empty where the label says it all.
    std::string help;
    /// bool, text or double, as the kind says; of a choice, the value of one of the choices.
    DefaultsValue value;
    std::vector<SettingChoice> choices = {};
    /// Whether it can be changed here and now.
    bool isAvailable = true;
    /// The title of a button that belongs to it, see SettingsList::act(); empty as a rule.
    std::string action = {};

    /// The value as a person types it: "on" and "off", the choice's value, "0.5".
    std::string text() const;
    /// The value that a text means; a sentence that says what could be said instead, where it means none.
    std::expected<DefaultsValue, std::string> parsed(std::string_view text) const;

    friend bool operator==(const SettingRow&, const SettingRow&) = default;
};

class SettingsList {
  public:
    /// All must outlive the list; without shortcuts there is no setting of them.
    SettingsList(PreferencesManager& preferences, LaunchAtLoginManager& launchAtLogin,
                 AudioDeviceManager& deviceManager, ApplicationHost& host,
                 const GlobalShortcutService* shortcuts);
    SettingsList(const SettingsList&) = delete;
    SettingsList& operator=(const SettingsList&) = delete;
    ~SettingsList();

    /// The headings under which rows stand on a tab of the window, in their order.
    std::vector<std::string> sections(std::string_view ofTab) const;
    /// Of all sections, in their order.
    std::vector<SettingRow> rows() const;
    /// Takes effect at once. False, and nothing changes, for what is no value of the setting or an unknown
    /// key.
    bool set(std::string_view key, const DefaultsValue& value);
    /// What the row's button does.
    void act(std::string_view key);

    /// As the output is called now, else as a preset remembers it; the UID where nobody knows.
    std::string outputName(const std::string& uid) const;

    /// Shows the program in the Dock, or doesn't, as the setting says.
    void applyShowInDock();

  private:
    struct Declared;
    struct Section;

    std::vector<Section> declarations();
    const Declared* declared(std::string_view key) const;
    SettingRow shown(const Declared& declared) const;
    SettingRow shownLaunchAtLogin(const Declared& declared) const;
    std::vector<SettingChoice> referenceChoices() const;

    PreferencesManager& preferences_;
    LaunchAtLoginManager& launchAtLogin_;
    AudioDeviceManager& deviceManager_;
    ApplicationHost& host_;
    const GlobalShortcutService* shortcuts_; // may be null
    std::vector<Section> sections_;
};

} // namespace velto
