// Appearance: how the desktop wants programs to look, for the views.
//
// Owned by the user interface; main actor only. Light or dark, and the accent colour, are what the desktop
// says, else what the palette has.
#pragma once

#include "Velto/Qt/DesktopAppearance.h"

#include <QColor>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace velto {

class Appearance final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isDark READ isDark NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor accentText READ accentText NOTIFY changed)
    Q_PROPERTY(QColor accentInk READ accentInk NOTIFY changed)
    Q_PROPERTY(bool reducesMotion READ reducesMotion NOTIFY changed)
    Q_PROPERTY(bool isComposited READ isComposited NOTIFY changed)
    Q_PROPERTY(bool hasMaterial READ hasMaterial CONSTANT)
    Q_PROPERTY(QString fontFamily READ fontFamily NOTIFY changed)
    Q_PROPERTY(double fontScale READ fontScale NOTIFY changed)

  public:
    struct Wishes {
        std::optional<bool> isDark;
        std::optional<QColor> accent;
        std::optional<bool> reducesMotion;
        std::optional<bool> isComposited;
        std::optional<double> fontSize = std::nullopt;

        friend bool operator==(const Wishes&, const Wishes&) = default;
    };

    Appearance();

    bool isDark() const;
    /// As chosen where that is bright, else dark enough for white text.
    QColor accent() const;
    /// Text on the accent: white, or dark on a bright one. A contrast of at least 4.5.
    QColor accentText() const;
    /// The accent as text or symbol on a window: a contrast of at least 4.5.
    QColor accentInk() const;
    bool reducesMotion() const;
    /// Whether windows are blended, so that a corner can be round.
    bool isComposited() const;
    /// Whether the panel stands on a material of the desktop's own, in place of a colour.
    bool hasMaterial() const { return desktop_->hasMaterial(); }
    QString fontFamily() const { return desktop_->fontFamily(); }
    /// How much larger or smaller text is than the views were drawn with.
    double fontScale() const;

    DesktopAppearance& desktop() { return *desktop_; }

    /// Overrules what the desktop says, field by field.
    void overrule(Wishes wishes);
    bool eventFilter(QObject* object, QEvent* event) override;

    /// From 1 to 21, as the accessibility guidelines define it. Both are opaque.
    static double contrast(const QColor& one, const QColor& other);

  Q_SIGNALS:
    void changed();

  private:
    QColor chosenAccent() const;

    std::unique_ptr<DesktopAppearance> desktop_;
    Wishes overruled_;
};

} // namespace velto
