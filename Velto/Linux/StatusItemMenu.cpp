#include "Velto/Linux/StatusItemMenu.h"

#include "Velto/Qt/Text.h"

#include <QDBusError>

#include <algorithm>
#include <iterator>
#include <utility>

namespace velto {

namespace {

constexpr int root = 0;

QVariantMap only(QVariantMap properties, const QStringList& names) {
    if (!names.isEmpty())
        properties.removeIf([&](const auto& entry) { return !names.contains(entry.key()); });
    return properties;
}

QVariantMap propertiesOfRoot(const QStringList& names) {
    return only({{QStringLiteral("children-display"), QStringLiteral("submenu")}}, names);
}

} // namespace

StatusItemMenu::StatusItemMenu(std::function<std::vector<StatusMenuEntry>()> entries)
    : entries_(std::move(entries)) {}

void StatusItemMenu::change() {
    if (!std::exchange(isUpToDate_, false)) return;
    Q_EMIT LayoutUpdated(++revision_, root);
}

std::vector<StatusItemMenu::Numbered> StatusItemMenu::entries() {
    std::vector<Numbered> result;
    for (StatusMenuEntry& entry : entries_()) {
        const int id = ids_.try_emplace(entry.key, static_cast<int>(ids_.size()) + 1).first->second;
        result.push_back({id, std::move(entry)});
    }
    return result;
}

bool StatusItemMenu::isKnown(int id) {
    return id == root || std::ranges::any_of(entries(), [id](const Numbered& one) { return one.id == id; });
}

bool StatusItemMenu::requireKnown(int id) {
    if (isKnown(id)) return true;
    sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("There is no menu entry %1").arg(id));
    return false;
}

/// Those of these names, or all; what the interface takes for granted is left out.
QVariantMap StatusItemMenu::properties(const StatusMenuEntry& entry, const QStringList& names) {
    if (entry.label.empty()) return only({{QStringLiteral("type"), QStringLiteral("separator")}}, names);
    QString label = toQString(entry.label);
    label.replace(u'_', QStringLiteral("__")); // one marks the key that chooses it
    QVariantMap result{{QStringLiteral("label"), label}};
    if (!entry.isEnabled) result.insert(QStringLiteral("enabled"), false);
    if (entry.isChecked) {
        result.insert(QStringLiteral("toggle-type"), QStringLiteral("checkmark"));
        result.insert(QStringLiteral("toggle-state"), *entry.isChecked ? 1 : 0);
    }
    return only(std::move(result), names);
}

uint StatusItemMenu::GetLayout(int parent, int depth, const QStringList& names, NotifierMenuLayout& layout) {
    const auto all = entries();
    layout = {parent, {}, {}};
    if (const auto found = std::ranges::find(all, parent, &Numbered::id); found != all.end()) {
        layout.properties = properties(found->entry, names);
        return revision_;
    }
    if (!requireKnown(parent)) return 0;
    isUpToDate_ = true;
    layout.properties = propertiesOfRoot(names);
    if (depth == 0) return revision_;
    for (const auto& [id, entry] : all)
        layout.children.append(QVariant::fromValue(NotifierMenuLayout{id, properties(entry, names), {}}));
    return revision_;
}

NotifierMenuPropertiesList StatusItemMenu::GetGroupProperties(const QList<int>& ids,
                                                              const QStringList& names) {
    NotifierMenuPropertiesList result;
    if (ids.isEmpty() || ids.contains(root)) result.append({root, propertiesOfRoot(names)});
    for (const auto& [id, entry] : entries())
        if (ids.isEmpty() || ids.contains(id)) result.append({id, properties(entry, names)});
    return result;
}

QDBusVariant StatusItemMenu::GetProperty(int id, const QString& name) {
    if (!requireKnown(id)) return QDBusVariant(QString());
    const auto found = GetGroupProperties({id}, {name});
    const QVariant value = found.value(0).properties.value(name);
    if (!value.isValid())
        sendErrorReply(QDBusError::InvalidArgs,
                       QStringLiteral("Menu entry %1 has no property %2").arg(id).arg(name));
    return QDBusVariant(value.isValid() ? value : QString());
}

void StatusItemMenu::choose(int id, const QString& event) {
    if (event != QLatin1String("clicked")) return;
    for (const auto& [number, entry] : entries())
        if (number == id && entry.isEnabled && entry.chosen) return entry.chosen();
}

void StatusItemMenu::Event(int id, const QString& name, const QDBusVariant&, uint) {
    if (requireKnown(id)) choose(id, name);
}

QList<int> StatusItemMenu::EventGroup(const QList<NotifierMenuEvent>& events) {
    QList<int> unknown;
    for (const NotifierMenuEvent& event : events) {
        if (isKnown(event.id)) {
            choose(event.id, event.name);
        } else {
            unknown.append(event.id);
        }
    }
    return unknown;
}

bool StatusItemMenu::AboutToShow(int id) { return requireKnown(id) && id == root && !isUpToDate_; }

QList<int> StatusItemMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& unknown) {
    std::ranges::copy_if(ids, std::back_inserter(unknown), [this](int id) { return !isKnown(id); });
    return ids.contains(root) && !isUpToDate_ ? QList<int>{root} : QList<int>{};
}

} // namespace velto
