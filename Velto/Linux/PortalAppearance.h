// PortalAppearance: how a Linux desktop wants programs to look, from its settings portal.
//
// Where there is no portal it has no wishes.
#pragma once

#include "Velto/Qt/DesktopAppearance.h"

#include <QColor>
#include <QFont>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

class QDBusVariant;

namespace velto {

class PortalAppearance final : public QObject, public DesktopAppearance {
    Q_OBJECT

  public:
    explicit PortalAppearance(std::function<void()> changed);

    std::optional<bool> isDark() const override { return wishes_.isDark; }
    std::optional<QColor> accent() const override { return wishes_.accent; }
    std::optional<bool> reducesMotion() const override { return wishes_.reducesMotion; }
    /// The one that the desktop says; where it says none, Inter if that is installed.
    QString fontFamily() const override;
    std::optional<double> fontSize() const override;
    bool isComposited() const override;
    bool hasMaterial() const override { return false; }
    void dressPanel(QWindow& panel, int cornerRadius) override;
    void dressFrame(QWindow& window, bool isDark) override;
    std::shared_ptr<void> observeClicksOutside(std::function<void()>) override { return nullptr; }
    void dressWelcomeWindow(QWindow&) override {}

  private Q_SLOTS:
    void portalChanged(const QString& group, const QString& key, const QDBusVariant& value);

  private:
    struct Wishes {
        std::optional<bool> isDark;
        std::optional<QColor> accent;
        std::optional<bool> reducesMotion;
        std::optional<QFont> font;

        friend bool operator==(const Wishes&, const Wishes&) = default;
    };

    void ask(const QString& group, const QString& key);
    void note(const QString& group, const QString& key, const QVariant& value);

    std::function<void()> changed_;
    Wishes wishes_;
};

} // namespace velto
