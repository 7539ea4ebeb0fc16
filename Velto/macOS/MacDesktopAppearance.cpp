// How the Mac wants programs to look, for the views.
#include "Platform/macOS/SystemAppearance.h"
#include "Platform/macOS/WindowDressing.h"
#include "Velto/Qt/DesktopAppearance.h"

#include <QFont>
#include <QGuiApplication>
#include <QWindow>

#include <utility>

namespace velto {

namespace {

class MacDesktopAppearance final : public DesktopAppearance {
  public:
    explicit MacDesktopAppearance(std::function<void()> changed) : system_(std::move(changed)) {}

    std::optional<bool> isDark() const override { return system_.isDark(); }
    std::optional<QColor> accent() const override {
        const SystemAppearance::Color accent = system_.accent();
        return QColor::fromRgbF(static_cast<float>(accent.red), static_cast<float>(accent.green),
                                static_cast<float>(accent.blue));
    }
    std::optional<bool> reducesMotion() const override { return system_.reducesMotion(); }
    QString fontFamily() const override { return QGuiApplication::font().family(); }
    std::optional<double> fontSize() const override { return std::nullopt; }
    bool isComposited() const override { return true; }
    bool hasMaterial() const override { return true; }
    void dressPanel(QWindow& panel, int cornerRadius) override { dressAsPanel(viewOf(panel), cornerRadius); }
    void dressFrame(QWindow&, bool) override {} // the system's frames follow the system
    std::shared_ptr<void> observeClicksOutside(std::function<void()> clicked) override {
        return std::make_shared<ClicksOutside>(std::move(clicked));
    }
    void dressWelcomeWindow(QWindow& window) override { extendUnderTitleBar(viewOf(window)); }

  private:
    static void* viewOf(QWindow& window) { return reinterpret_cast<void*>(window.winId()); }

    SystemAppearance system_;
};

} // namespace

std::unique_ptr<DesktopAppearance> makeDesktopAppearance(std::function<void()> changed) {
    return std::make_unique<MacDesktopAppearance>(std::move(changed));
}

} // namespace velto
