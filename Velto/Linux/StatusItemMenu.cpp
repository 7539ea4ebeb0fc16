#include "Velto/Linux/StatusItemMenu.h"

#include <QDBusError>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace velto {

namespace {

constexpr int root = 0;
constexpr uint revision = 1;

} // namespace

StatusItemMenu::StatusItemMenu(std::vector<StatusItem::MenuEntry> entries) : entries_(std::move(entries)) {}

bool StatusItemMenu::isKnown(int id) const {
    return id >= root && static_cast<std::size_t>(id) <= entries_.size();
}

bool StatusItemMenu::requireKnown(int id) {
    if (isKnown(id)) return true;
    sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("There is no menu entry %1").arg(id));
    return false;
}

/// Those of these names, or all; what the interface takes for granted is left out.
QVariantMap StatusItemMenu::properties(int id, const QStringList& names) const {
    QVariantMap result;
    if (id == root) {
        result.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    } else if (const QString& label = entries_[static_cast<std::size_t>(id) - 1].label; label.isEmpty()) {
        result.insert(QStringLiteral("type"), QStringLiteral("separator"));
    } else {
        result.insert(QStringLiteral("label"), label);
    }
    if (!names.isEmpty()) result.removeIf([&](const auto& entry) { return !names.contains(entry.key()); });
    return result;
}

uint StatusItemMenu::GetLayout(int parent, int depth, const QStringList& names, NotifierMenuLayout& layout) {
    if (!requireKnown(parent)) return 0;
    layout = {parent, properties(parent, names), {}};
    if (parent != root || depth == 0) return revision;
    for (int id = 1; isKnown(id); ++id)
        layout.children.append(QVariant::fromValue(NotifierMenuLayout{id, properties(id, names), {}}));
    return revision;
}

NotifierMenuPropertiesList StatusItemMenu::GetGroupProperties(const QList<int>& ids,
                                                              const QStringList& names) {
    NotifierMenuPropertiesList result;
    for (int id = root; isKnown(id); ++id)
        if (ids.isEmpty() || ids.contains(id)) result.append({id, properties(id, names)});
    return result;
}

QDBusVariant StatusItemMenu::GetProperty(int id, const QString& name) {
    if (!requireKnown(id)) return QDBusVariant(QString());
    const QVariant value = properties(id, {}).value(name);
    if (!value.isValid())
        sendErrorReply(QDBusError::InvalidArgs,
                       QStringLiteral("Menu entry %1 has no property %2").arg(id).arg(name));
    return QDBusVariant(value.isValid() ? value : QString());
}

void StatusItemMenu::choose(int id, const QString& event) {
    if (event != QLatin1String("clicked") || id == root) return;
    if (const auto& chosen = entries_[static_cast<std::size_t>(id) - 1].chosen) chosen();
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

bool StatusItemMenu::AboutToShow(int id) {
    requireKnown(id);
    return false;
}

QList<int> StatusItemMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& unknown) {
    std::ranges::copy_if(ids, std::back_inserter(unknown), [this](int id) { return !isKnown(id); });
    return {};
}

} // namespace velto
