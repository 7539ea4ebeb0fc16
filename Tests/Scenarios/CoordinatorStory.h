// CoordinatorStory: an application on a machine with the usual outputs, and what a user does with it.
#pragma once

#include "Tests/Support/Application.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

namespace velto {

/// The usual outputs; sound goes to the USB interface. Headphones and speakers play together.
class CoordinatorStory : public MachineTest {
  protected:
    CoordinatorStory() {
        plugUsualOutputs();
        launch();
        log.clear();
    }
    ~CoordinatorStory() override {
        if (app) app->quit();
        app.reset();
        loop.runUntilIdle();
    }

    void launch() {
        app = std::make_unique<Application>(*this);
        app->launch();
    }
    void play() {
        app->play("bluetooth", "builtin");
        ASSERT_TRUE(app->isPlaying());
    }
    DualOutputCoordinator& coordinator() { return app->coordinator; }
    void wake() {
        coordinator().handleWake();
        loop.runUntilIdle();
    }
    std::string title() { return coordinator().status().title(); }
    void expectSound(const InvariantContext& context = {}) {
        EXPECT_THAT(violations(*app, context), testing::IsEmpty());
    }
    /// No session, and sound and alerts go where they went before.
    void expectSilentEnd() { expectSound({.defaultOutputs = {"usb"}, .alertOutputs = {"hdmi"}}); }

    std::unique_ptr<Application> app;
};

} // namespace velto
