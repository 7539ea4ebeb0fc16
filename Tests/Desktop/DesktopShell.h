// DesktopShell: the part of a desktop that shows status items and their menus, on the session's bus.
//
// Owned by a test; to end it and make another is what starting a desktop's shell again is to programs.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>

namespace velto {

class DesktopShell final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ drawsItems SCRIPTABLE true)

  public:
    /// Takes the place of one that is there.
    DesktopShell();
    ~DesktopShell() override;

    /// Whether it has a panel to draw items in; without one it only keeps their list.
    bool drawsItems() const { return drawsItems_; }
    void setDrawsItems(bool draws);

    /// The services of those that have registered, in order.
    const QStringList& items() const { return items_; }
    /// All that programs here have said so far has come to the shell, and its answers to them.
    void settle();
    /// Signals of the items since this was asked last, in order.
    QStringList takeSignals();

    // Questions to the last item, answered when they return.

    QVariant property(const QString& name);
    QDBusMessage callItem(const QString& method, const QVariantList& arguments);
    QDBusMessage callMenu(const QString& method, const QVariantList& arguments);
    /// As the user picks the menu's entry by what it is called; false when there is none.
    bool choose(const QString& label);

  public Q_SLOTS:
    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString& service);

  Q_SIGNALS:
    Q_SCRIPTABLE void StatusNotifierHostRegistered();
    Q_SCRIPTABLE void StatusNotifierHostUnregistered();

  private Q_SLOTS:
    void noteSignal(const QDBusMessage& message);

  private:
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments);

    QString connectionName_;
    QDBusConnection bus_;
    bool drawsItems_ = true;
    QStringList items_;
    QStringList signals_;
};

} // namespace velto
