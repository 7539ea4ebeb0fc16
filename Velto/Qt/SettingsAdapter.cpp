#include "Velto/Qt/SettingsAdapter.h"

#include "Velto/Shell/SettingsTexts.h"

#include <utility>

namespace velto {

namespace {

QVariantList choiceList(const std::vector<SettingChoice>& choices) {
    QVariantList list;
    for (const SettingChoice& choice : choices)
        list.append(QVariantMap{{"value", toQString(choice.rawValue)},
                                {"title", toQString(choice.title)},
                                {"help", toQString(choice.helpText)}});
    return list;
}

} // namespace

SettingsAdapter::SettingsAdapter(SettingsViewModel& model)
    : model_(model),
      syncProfiles_(this, &SyncProfileRow::id,
                    {{"profileID", [](const SyncProfileRow& row) { return toQString(row.id); }},
                     {"names", [](const SyncProfileRow& row) { return toQString(row.names); }},
                     {"summary", [](const SyncProfileRow& row) { return toQString(row.summary); }}}),
      debugRows_(this, &DebugRow::title,
                 {{"title", [](const DebugRow& row) { return toQString(row.title); }},
                  {"value", [](const DebugRow& row) { return toQString(row.value); }}}) {
    follow(model);
}

void SettingsAdapter::updateLists() {
    syncProfiles_.update(model_.syncProfileRows());
    debugRows_.update(model_.debugRows());
}

QVariantMap SettingsAdapter::texts() {
    using Texts = SettingsTexts;
    const std::pair<const char*, SettingText> all[]{
        {"launchAtLogin", Texts::launchAtLogin},
        {"openLoginItems", Texts::openLoginItems},
        {"showInDock", Texts::showInDock},
        {"rememberSelectedDevices", Texts::rememberSelectedDevices},
        {"autoConnect", Texts::autoConnect},
        {"autoReconnect", Texts::autoReconnect},
        {"disconnectBehavior", Texts::disconnectBehavior},
        {"sampleRate", Texts::preferredSampleRate},
        {"clockStrategy", Texts::clockStrategy},
        {"aggregateDeviceName", Texts::aggregateDeviceName},
        {"syncEngine", Texts::syncEngine},
        {"rememberSyncProfiles", Texts::rememberSyncProfiles},
        {"referenceDevice", Texts::defaultReferenceDevice},
        {"syncTest", Texts::syncTest},
        {"syncTestVolume", Texts::syncTestVolume},
        {"syncProfiles", Texts::syncProfiles},
        {"reset", Texts::resetAudioConfiguration},
        {"copyDebugInfo", Texts::copyDebugInfo},
    };
    QVariantMap map;
    for (const auto& [name, text] : all)
        map[QString::fromLatin1(name)] =
            QVariantMap{{"label", toQString(text.label)}, {"help", toQString(text.help)}};
    return map;
}

QVariantList SettingsAdapter::disconnectBehaviors() const {
    return choiceList(SettingsViewModel::disconnectBehaviorChoices());
}

QVariantList SettingsAdapter::clockStrategies() const {
    return choiceList(SettingsViewModel::clockStrategyChoices());
}

QVariantList SettingsAdapter::sampleRates() const {
    QVariantList list;
    for (const SampleRateChoice& choice : SettingsViewModel::preferredSampleRateChoices())
        list.append(
            QVariantMap{{"value", choice.rawValue}, {"title", toQString(choice.title)}, {"help", ""}});
    return list;
}

QVariantList SettingsAdapter::referenceDevices() const { return choiceList(model_.referenceDeviceChoices()); }

QString SettingsAdapter::version() const {
    return toQString("Version " + model_.shortVersion() + " (" + model_.buildNumber() + ")");
}

QVariantList SettingsAdapter::licences() {
    constexpr std::pair<const char*, const char*> all[]{
        {"Velto", "MIT"},
        {"Qt 6", "LGPL 3"},
        {"PipeWire", "MIT"},
        {"{fmt}", "MIT"},
        {"JSON for Modern C++", "MIT"},
        {"ICU", "Unicode Licence"},
        {"libuuid", "BSD 3-Clause"},
        {"libsystemd", "LGPL 2.1"},
        {"Material Symbols", "Apache 2.0"},
        {"Inter", "SIL Open Font Licence 1.1"},
    };
    QVariantList list;
    for (const auto& [name, licence] : all)
        list.append(
            QVariantMap{{"name", QString::fromLatin1(name)}, {"licence", QString::fromLatin1(licence)}});
    return list;
}

} // namespace velto
