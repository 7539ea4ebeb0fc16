// ShellTest: the whole application without its windows, and a user in front of it.
//
// The usual outputs are plugged in; sound goes to the USB interface. Each story ends with a quit, and what
// must hold then is checked without being asked for.
#pragma once

#include "Tests/Support/Application.h"
#include "Tests/Support/PlatformTextCollation.h"
#include "Velto/Shell/AppDelegate.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

inline void PrintTo(const OutputRow& row, std::ostream* stream) {
    *stream << row.name << (row.isConnected ? "" : " (gone)");
}

inline void PrintTo(const DebugRow& row, std::ostream* stream) { *stream << row.title << ": " << row.value; }

/// The welcome window of a desktop that nobody sees.
class SimulatedOnboardingWindow final : public OnboardingWindow {
  public:
    SimulatedOnboardingWindow(bool& isOpen, std::function<void()> closedHandler)
        : isOpen_(isOpen), closedHandler_(std::move(closedHandler)) {}
    void show() override { isOpen_ = true; }
    void close() override {
        if (std::exchange(isOpen_, false)) closedHandler_();
    }

  private:
    bool& isOpen_;
    std::function<void()> closedHandler_;
};

class ShellTest : public MachineTest {
  protected:
    using Slot = MenuBarViewModel::Slot;
    using Reply = AppDelegate::TerminationReply;
    using Policy = ApplicationHost::ActivationPolicy;

    ShellTest() { plugUsualOutputs(); }
    ~ShellTest() override {
        if (!app) return;
        run();
        EXPECT_THAT(violations(*this, app->appState(), context), testing::IsEmpty());
        quit();
        EXPECT_THAT(violations(*this, app->appState(), context), testing::IsEmpty());
        EXPECT_FALSE(desktop.isSleepObserved());
    }

    // Verbs run until nothing is left to do.

    void run() { loop.runUntilIdle(); }
    /// Starts the program, up to where its loop begins.
    void boot() {
        app = std::make_unique<AppDelegate>(platformOf(*this, *collation));
        app->offerWindows([this](auto closed) {
            auto made = std::make_unique<SimulatedOnboardingWindow>(isWindowOpen, std::move(closed));
            window = made.get();
            return made;
        });
        app->applicationDidFinishLaunching();
    }
    void launch() {
        boot();
        run();
    }
    void crash() {
        app.reset();
        world.programDies();
        defaults.startOver(defaults.onDisk());
    }
    Reply quit() {
        const Reply reply = app->applicationShouldTerminate();
        run();
        return reply;
    }
    void choose(std::string_view first, std::string_view second) {
        menuBar().choose(Slot::first, std::string(first));
        menuBar().choose(Slot::second, std::string(second));
    }
    void play(std::string_view first, std::string_view second) {
        choose(first, second);
        menuBar().play();
        run();
        ASSERT_TRUE(menuBar().isPlaying());
    }
    UUID save(std::string name) {
        menuBar().setNewPresetName(std::move(name));
        menuBar().saveCurrentAsPreset();
        return preferences().userPresets().back().id;
    }

    AppState& state() { return app->appState(); }
    MenuBarViewModel& menuBar() { return state().menuBar(); }
    PresetViewModel& presets() { return state().presets(); }
    SettingsViewModel& settings() { return state().settings(); }
    PreferencesManager& preferences() { return state().preferences(); }
    DualOutputCoordinator& coordinator() { return state().coordinator(); }
    std::vector<std::string> presetNames() {
        std::vector<std::string> names;
        for (const PresetRow& row : presets().presetRows())
            names.push_back(row.name);
        return names;
    }

    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    /// What the story makes due at its end.
    InvariantContext context;
    bool isWindowOpen = false;
    SimulatedOnboardingWindow* window = nullptr;
    std::unique_ptr<AppDelegate> app;
};

} // namespace velto
