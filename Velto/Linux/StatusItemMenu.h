// StatusItemMenu: the status item's menu as an object on the session's bus, which the desktop draws.
//
// Owned by NotifierStatusItem; main actor only. Speaks com.canonical.dbusmenu. An entry keeps its number
// however the menu changes, so that what is chosen in a menu on the screen is what the user has seen. The
// desktop is told of a change once, until it asks again.
#pragma once

#include "Velto/Linux/NotifierStatusItemTypes.h"
#include "Velto/Shell/StatusItemViewModel.h"

#include <QDBusContext>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velto {

class StatusItemMenu final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version SCRIPTABLE true)
    Q_PROPERTY(QString TextDirection READ textDirection SCRIPTABLE true)
    Q_PROPERTY(QString Status READ status SCRIPTABLE true)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath SCRIPTABLE true)

  public:
    /// Is asked for the entries as they are then.
    explicit StatusItemMenu(std::function<std::vector<StatusMenuEntry>()> entries);

    /// The entries may be others from now on.
    void change();

    uint version() const { return 3; }
    QString textDirection() const { return QStringLiteral("ltr"); } // all of our texts are English
    QString status() const { return QStringLiteral("normal"); }
    QStringList iconThemePath() const { return {}; }

  public Q_SLOTS:
    // Entries are numbered from 1; 0 is the menu itself. Where more than one value is answered, the bus has
    // all but the first as parameters.

    Q_SCRIPTABLE uint GetLayout(int parent, int depth, const QStringList& names,
                                velto::NotifierMenuLayout& layout);
    /// Of all entries when none is named; unknown ones are left out.
    Q_SCRIPTABLE velto::NotifierMenuPropertiesList GetGroupProperties(const QList<int>& ids,
                                                                      const QStringList& names);
    Q_SCRIPTABLE QDBusVariant GetProperty(int id, const QString& name);
    Q_SCRIPTABLE void Event(int id, const QString& name, const QDBusVariant& data, uint timestamp);
    /// Answers the entries that there are none of.
    Q_SCRIPTABLE QList<int> EventGroup(const QList<velto::NotifierMenuEvent>& events);
    /// Whether the menu must be asked for again.
    Q_SCRIPTABLE bool AboutToShow(int id);
    Q_SCRIPTABLE QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& unknown);

  Q_SIGNALS:
    Q_SCRIPTABLE void LayoutUpdated(uint revision, int parent);

  private:
    /// The entries as they are now, by their numbers, in the order in which they are shown.
    struct Numbered {
        int id;
        StatusMenuEntry entry;
    };
    std::vector<Numbered> entries();
    bool isKnown(int id);
    bool requireKnown(int id);
    static QVariantMap properties(const StatusMenuEntry& entry, const QStringList& names);
    void choose(int id, const QString& event);

    std::function<std::vector<StatusMenuEntry>()> entries_;
    std::map<std::string, int> ids_; // of all entries that there ever were, by their keys
    uint revision_ = 1;
    bool isUpToDate_ = false; // the desktop has asked since the last change
};

} // namespace velto
