// WindowTest: the whole application in real windows on a simulated computer, and a person in front of it.
//
// Verbs wait until nothing moves any more. Time is virtual. The usual devices are plugged in; sound goes to
// the built-in speakers. Each story ends with a quit, after which the computer must be as before. What Qt or
// a view warns of fails the test.
#pragma once

#include "Platform/Linux/IcuTextCollation.h"
#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedMainActor.h"
#include "Tests/UI/Page.h"
#include "Velto/Linux/LinuxApplication.h"
#include "Velto/Qt/QuickUserInterface.h"
#include "Velto/Simulator/DeviceBench.h"
#include "Velto/Simulator/DeviceBenchAdapter.h"
#include "Velto/Simulator/SimulatedComputer.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <string_view>

namespace velto {

inline void PrintTo(const Control& control, std::ostream* stream) { *stream << control.name.toStdString(); }

class WindowTest : public testing::Test {
  public:
    WindowTest();
    ~WindowTest() override;

    /// Starts the program. Somebody who has used it before sees no welcome window.
    void launch();
    void launchForTheFirstTime();
    /// The panel as it drops from a status item, or, before this, as an ordinary window.
    void dropPanel();
    void quit();

    Page panel();
    Page settings();
    Page welcome();
    Page benchPage();
    Page page(QQuickWindow* window, std::string_view what);

    void settle();
    void advance(Duration interval);
    void unplug(std::string_view uid);
    void replug(std::string_view uid);
    /// Without hands, for stories that begin there.
    void choose(std::string_view first, std::string_view second);
    void play(std::string_view first, std::string_view second);
    void setDark(bool isDark);

    AppState& state() { return application->delegate().appState(); }
    MenuBarViewModel& menuBar() { return state().menuBar(); }
    PreferencesManager& preferences() { return state().preferences(); }
    SimulatedAudioSystem& world() { return computer.world(); }
    float volumeOf(std::string_view uid) { return world().device(uid).volume.value(); }
    AudioPreset savedPreset(std::string name, std::string_view first, std::string_view second);

    SimulatedMainActor actor; // dies last
    RecordingLogSink log;
    const IcuTextCollation collation;
    SimulatedComputer computer{actor, collation};
    DeviceBench bench{computer};
    DeviceBenchAdapter benchAdapter{bench};
    std::unique_ptr<AppDelegate> delegate;
    std::unique_ptr<LinuxApplication> application;
    QuickUserInterface* windows = nullptr; // the application's
    std::unique_ptr<QQuickWindow> benchWindow;

  private:
    class Watcher;

    std::unique_ptr<Watcher> watcher_;
};

} // namespace velto
