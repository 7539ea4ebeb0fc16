// DesktopAppearance: how the desktop wants programs to look, and what it can put behind a window.
//
// One class a platform, made by makeDesktopAppearance(). Owned by Appearance; main actor only.
#pragma once

#include <QColor>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QWindow;

namespace velto {

class DesktopAppearance {
  public:
    virtual ~DesktopAppearance() = default;

    /// Absent where the desktop has no wish, as are the next two.
    virtual std::optional<bool> isDark() const = 0;
    virtual std::optional<QColor> accent() const = 0;
    virtual std::optional<bool> reducesMotion() const = 0;
    /// Of the text in windows.
    virtual QString fontFamily() const = 0;
    /// Its size in points; absent where the desktop has no wish.
    virtual std::optional<double> fontSize() const = 0;
    /// Whether windows are blended, so that a corner can be round.
    virtual bool isComposited() const = 0;
    /// Whether the panel stands on a material of the desktop's own.
    virtual bool hasMaterial() const = 0;
    /// Puts the material behind the panel, with corners of the radius in pixels, and lets it stand over
    /// whatever the desktop shows; nothing where there is none. Again does no harm.
    virtual void dressPanel(QWindow& panel, int cornerRadius) = 0;
    /// Has the frame that the desktop draws around a window go with what is in it, where frames can.
    virtual void dressFrame(QWindow& window, bool isDark) = 0;
    /// Calls the handler, from the main loop, for clicks outside of the program, as long as what it answers
    /// lives; null where a window hears of each by losing its focus. The handler must not end that.
    virtual std::shared_ptr<void> observeClicksOutside(std::function<void()> clicked) = 0;
    /// Gives the welcome window the frame that such windows have on the desktop, if that is a special one.
    virtual void dressWelcomeWindow(QWindow& window) = 0;
};

/// The handler is called, from the main loop, when a wish may have changed.
std::unique_ptr<DesktopAppearance> makeDesktopAppearance(std::function<void()> changed);

} // namespace velto
