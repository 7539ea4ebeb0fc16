// SessionStage: a program on a machine of its own, and the operations of its session, for sweeps that need a
// fresh one hundreds of times.
#pragma once

#include "Tests/Support/Program.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

inline constexpr std::string_view ours = AggregateDeviceManager::aggregateUID;

/// Ends whatever session runs, then fails the test if anything is left over.
class SessionStage {
  public:
    SessionStage() {
        machine.plugUsualOutputs();
        launch();
    }
    ~SessionStage() {
        machine.world.faults = {};
        machine.world.calls.forgetFailures();
        program->finish(program->session.stop());
        program->finish(program->session.recoverIfNeeded());
        program.reset();
        machine.loop.runUntilIdle();
        EXPECT_THAT(machine.leftovers(), testing::IsEmpty());
    }

    void launch() {
        program = std::make_unique<Program>(machine);
        machine.loop.runUntilIdle();
    }
    void play() { program->finish(program->start("bluetooth", "builtin")).value(); }
    SystemAudioManager& session() { return program->session; }

    Machine machine;
    std::unique_ptr<Program> program;
};

/// One operation of a session, from where it can begin.
struct SweptOperation {
    std::string name;
    std::function<void(SessionStage&)> prepare;
    std::function<Task<void>(SessionStage&)> run;
    /// Where the outputs belong at the end if no session runs, and where else when they could not be
    /// restored.
    std::vector<std::string> defaultOutputs;
    std::vector<std::string> alertOutputs;
};

inline void PrintTo(const SweptOperation& operation, std::ostream* stream) { *stream << operation.name; }

inline Task<void> withoutResult(Task<bool> task) { static_cast<void>(co_await std::move(task)); }

inline const SweptOperation start{
    "Start",
    [](SessionStage&) {},
    [](SessionStage& stage) { return stage.program->start("bluetooth", "builtin"); },
    {"usb"},
    {"hdmi"}};
inline const SweptOperation restart{
    "StartDuringASession",
    [](SessionStage& stage) { stage.play(); },
    [](SessionStage& stage) { return stage.program->start("hdmi", "builtin"); },
    {"usb", "builtin"},
    {"hdmi", "builtin"}};
inline const SweptOperation stop{"Stop",
                                 [](SessionStage& stage) { stage.play(); },
                                 [](SessionStage& stage) { return stage.session().stop(); },
                                 {"usb"},
                                 {"hdmi"}};
inline const SweptOperation abandon{"Abandon",
                                    [](SessionStage& stage) {
                                        stage.play();
                                        stage.machine.pickDefault("hdmi");
                                    },
                                    [](SessionStage& stage) { return stage.session().abandonSession(); },
                                    {"hdmi"},
                                    {"builtin"}};
inline const SweptOperation rebuild{
    "Rebuild",
    [](SessionStage& stage) { stage.play(); },
    [](SessionStage& stage) {
        const auto session = stage.session().activeSession().value_or(DualOutputSession());
        return stage.session().rebuild(session.first, session.second, "Both", std::nullopt,
                                       ClockStrategy::automatic);
    },
    {"usb"},
    {"hdmi"}};
/// The audio service came back without the aggregate, and chose where sound goes.
inline const SweptOperation rebuildAfterRestart{"RebuildAfterRestart",
                                                [](SessionStage& stage) {
                                                    stage.play();
                                                    stage.machine.world.restartAudioService();
                                                    stage.program->devices.stopObserving();
                                                    stage.program->devices.startObserving();
                                                    stage.program->devices.refresh();
                                                },
                                                rebuild.run,
                                                {"usb"},
                                                {"hdmi"}};
inline const SweptOperation recover{
    "Recover",
    [](SessionStage& stage) {
        stage.play();
        Program::crash(stage.program);
        stage.launch();
    },
    [](SessionStage& stage) { return withoutResult(stage.session().recoverIfNeeded()); },
    {"usb"},
    {"hdmi"}};

} // namespace velto
