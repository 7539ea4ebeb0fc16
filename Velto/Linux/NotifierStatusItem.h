// NotifierStatusItem: the status item as an object on the session's bus, which the desktop draws.
//
// Speaks org.kde.StatusNotifierItem. A desktop's shell that is started again is told of the item anew, for as
// long as the item lives.
#pragma once

#include "Velto/Linux/NotifierStatusItemTypes.h"
#include "Velto/Linux/StatusItemMenu.h"
#include "Velto/Qt/StatusItem.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

namespace velto {

class NotifierStatusItem final : public QObject, public StatusItem {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category SCRIPTABLE true)
    Q_PROPERTY(QString Id READ id SCRIPTABLE true)
    Q_PROPERTY(QString Title READ title SCRIPTABLE true)
    Q_PROPERTY(QString Status READ status SCRIPTABLE true)
    Q_PROPERTY(int WindowId READ windowID SCRIPTABLE true)
    Q_PROPERTY(QString IconName READ iconName SCRIPTABLE true)
    Q_PROPERTY(velto::NotifierPixmaps IconPixmap READ iconPixmap SCRIPTABLE true)
    Q_PROPERTY(QString IconAccessibleDesc READ title SCRIPTABLE true)
    Q_PROPERTY(velto::NotifierToolTip ToolTip READ toolTip SCRIPTABLE true)
    Q_PROPERTY(bool ItemIsMenu READ isMenu SCRIPTABLE true)
    Q_PROPERTY(QDBusObjectPath Menu READ menu SCRIPTABLE true)

  public:
    /// Whom items of this kind make themselves known to.
    static constexpr const char* watcherService = "org.kde.StatusNotifierWatcher";

    explicit NotifierStatusItem(Handlers handlers);
    ~NotifierStatusItem() override;

    void setLook(const Look& look) override;
    void menuChanged() override { menu_.change(); }
    QRect place() const override { return place_; }
    bool eventFilter(QObject* object, QEvent* event) override;

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const { return QStringLiteral("com.corlent.velto"); }
    QString title() const { return look_.accessibilityText; }
    QString status() const { return QStringLiteral("Active"); }
    int windowID() const { return 0; }
    /// Of an icon that the desktop can colour like its own; empty when its theme has none.
    QString iconName() const;
    /// For desktops that can't: in the colour of the program's own text.
    NotifierPixmaps iconPixmap() const;
    NotifierToolTip toolTip() const;
    bool isMenu() const { return false; } // a click opens the panel
    QDBusObjectPath menu() const;

  public Q_SLOTS:
    Q_SCRIPTABLE void Activate(int x, int y);
    Q_SCRIPTABLE void SecondaryActivate(int x, int y) { Activate(x, y); }
    /// For desktops that want the item to draw its own menu.
    Q_SCRIPTABLE void ContextMenu(int x, int y);
    Q_SCRIPTABLE void Scroll(int delta, const QString& orientation);

  Q_SIGNALS:
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewToolTip();
    Q_SCRIPTABLE void NewStatus(const QString& status);

  private:
    void registerAtWatcher();
    void notePlace(int x, int y);

    Handlers handlers_;
    StatusItemMenu menu_;
    QRect place_; // of the last click
    Look look_;
    bool isRegistered_ = false; // not before there is something to show
    QDBusConnection bus_;
    QString service_;
    QDBusServiceWatcher watcher_;
};

} // namespace velto
