#include "Velto/Qt/SettingsAdapter.h"

#include <cstdint>
#include <utility>

namespace velto {

namespace {

struct AsVariant {
    QVariant operator()(const std::string& text) const { return toQString(text); }
    QVariant operator()(const Data&) const { return {}; }
    QVariant operator()(std::int64_t number) const { return static_cast<qlonglong>(number); }
    QVariant operator()(auto value) const { return value; }
};

QVariant toVariant(const DefaultsValue& value) { return std::visit(AsVariant{}, value); }

DefaultsValue fromVariant(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::QString:
        return value.toString().toStdString();
    default:
        return value.toDouble();
    }
}

QVariantList choiceList(const std::vector<SettingChoice>& choices) {
    QVariantList list;
    for (const SettingChoice& choice : choices)
        list.append(QVariantMap{{"value", toVariant(choice.value)}, {"title", toQString(choice.title)}});
    return list;
}

QString kindName(SettingRow::Kind kind) {
    switch (kind) {
    case SettingRow::Kind::toggle:
        return "toggle";
    case SettingRow::Kind::choice:
        return "choice";
    case SettingRow::Kind::text:
        return "text";
    case SettingRow::Kind::level:
        return "level";
    }
    return {};
}

std::unique_ptr<RecordListModel<SettingRow>> settingRows(QObject* parent) {
    using Row = SettingRow;
    return std::make_unique<RecordListModel<Row>>(
        parent, &Row::key,
        std::vector<RecordListModel<Row>::Role>{
            {"key", [](const Row& row) { return toQString(row.key); }},
            {"kind", [](const Row& row) { return kindName(row.kind); }},
            {"label", [](const Row& row) { return toQString(row.label); }},
            {"help", [](const Row& row) { return toQString(row.help); }},
            {"available", [](const Row& row) { return row.isAvailable; }},
            {"value", [](const Row& row) { return toVariant(row.value); }},
            {"choices", [](const Row& row) { return choiceList(row.choices); }},
            {"action", [](const Row& row) { return toQString(row.action); }}});
}

} // namespace

SettingsAdapter::SettingsAdapter(SettingsViewModel& model, InStepAdapter& inStep,
                                 AlignmentViewModel& alignment)
    : model_(model), inStep_(inStep), alignment_(alignment),
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
    std::map<std::string, std::vector<SettingRow>> sections;
    for (SettingRow& row : model_.list().rows())
        sections[row.section].push_back(std::move(row));
    for (const auto& [title, rows] : sections) {
        auto& model = sections_[toQString(title)];
        if (!model) model = settingRows(this);
        model->update(rows);
    }
    syncProfiles_.update(model_.syncProfileRows());
    debugRows_.update(model_.report().rows());
}

QStringList SettingsAdapter::sections(const QString& ofTab) const {
    QStringList titles;
    for (const std::string& title : model_.list().sections(ofTab.toStdString()))
        titles.append(toQString(title));
    return titles;
}

ListModel* SettingsAdapter::rows(const QString& inSection) const {
    const auto found = sections_.find(inSection);
    return found == sections_.end() ? nullptr : found->second.get();
}

void SettingsAdapter::set(const QString& key, const QVariant& value) {
    model_.list().set(key.toStdString(), fromVariant(value));
}

QString SettingsAdapter::version() const {
    return toQString("Version " + model_.shortVersion() + " (" + model_.buildNumber() + ")");
}

QVariantList SettingsAdapter::licences() const {
    QVariantList list;
    for (const auto& [name, licence] : model_.licences())
        list.append(QVariantMap{{"name", toQString(name)}, {"licence", toQString(licence)}});
    return list;
}

} // namespace velto
