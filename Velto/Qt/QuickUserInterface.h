// QuickUserInterface: the windows, drawn by Qt Quick.
//
// Lives in a module of its own, loaded at the first opening. Owned by VeltoApplication; main actor only. It
// places and shows windows; what is in them is in Velto/Views.
#pragma once

#include "Velto/Qt/Appearance.h"
#include "Velto/Qt/InStepAdapter.h"
#include "Velto/Qt/KeyboardFocus.h"
#include "Velto/Qt/MenuBarAdapter.h"
#include "Velto/Qt/PresetAdapter.h"
#include "Velto/Qt/ScreenReader.h"
#include "Velto/Qt/SettingsAdapter.h"
#include "Velto/Qt/UserInterface.h"

#include <QElapsedTimer>
#include <QObject>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>

#include <memory>
#include <vector>

namespace velto {

class QuickUserInterface final : public QObject, public UserInterface {
    Q_OBJECT

  public:
    explicit QuickUserInterface(Context context);
    ~QuickUserInterface() override;

    void setPanelStyle(PanelStyle style) override;
    void showPanel(const QRect& statusItem) override;
    void togglePanel(const QRect& statusItem) override;
    void showSettings() override;
    void showMenu(std::vector<StatusMenuEntry> entries, const QRect& statusItem) override;
    std::unique_ptr<OnboardingWindow> makeOnboardingWindow(std::function<void()> closedHandler) override;

    Appearance& appearance() { return appearance_; }
    QQmlEngine& engine() { return engine_; }
    /// Null before the first opening.
    QQuickWindow* panel() const { return panel_.get(); }
    /// Null before it was first shown.
    QQuickWindow* onboardingWindow() const { return onboardingWindow_.get(); }
    /// Null while none is shown.
    QQuickWindow* menu() const { return menu_.get(); }
    /// Null while the window is closed.
    QQuickWindow* settingsWindow() const { return settingsWindow_.get(); }

    /// A window from the views, by its file's name. Throws std::runtime_error.
    std::unique_ptr<QQuickWindow> make(const QString& view, const QVariantMap& properties);

  private Q_SLOTS:
    void hidePanel();
    void openSettings();
    void hideMenu();
    void chooseInMenu(int index);
    void requestQuit() { context_.requestQuit(); }

  private:
    void readyFonts();
    void makePanel();
    void activateProgram();
    void yieldActivation();
    static QScreen& screenOf(const QRect& statusItem);
    static int longestHeight(const QScreen& screen);
    QString welcomeMessage() const;
    void placePanel();
    void keepPanelOnScreen();
    void place(QQuickWindow& window, const QRect& item);
    void dressFrames();

    Context context_;
    Appearance appearance_;
    KeyboardFocus keyboard_;
    ScreenReader screenReader_;
    QQmlEngine engine_;
    InStepAdapter inStep_;
    MenuBarAdapter menuBar_;
    PresetAdapter presets_;
    std::unique_ptr<SettingsAdapter> settings_; // while its window is open
    std::unique_ptr<QQuickWindow> settingsWindow_;
    std::unique_ptr<QQuickWindow> onboardingWindow_;
    std::unique_ptr<QQuickWindow> panel_;
    std::shared_ptr<void> clicksOutside_; // observed while the panel drops down
    std::unique_ptr<QQuickWindow> menu_;  // while the status item's menu is shown
    std::vector<StatusMenuEntry> menuEntries_;
    QRect placeOfItem_; // as it was known when the panel was shown last
    PanelStyle panelStyle_ = PanelStyle::dropDown;
    QElapsedTimer sinceHidden_;
    bool hasFonts_ = false;
};

} // namespace velto
