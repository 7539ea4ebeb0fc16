// The program as it is shipped, with its modules, on a real server and a real display.
#include "Tests/Desktop/NotificationShower.h"
#include "Tests/PipeWire/RealServer.h"
#include "Tests/UI/VirtualScreen.h"
#include "Tools/SoundLab/PrivateBus.h"
#include "Tools/SoundLab/RunningVelto.h"

#include <chrono>
#include <filesystem>
#include <fstream>

namespace velto {
namespace {

using namespace std::chrono_literals;

class ProgramTests : public RealServer {
  protected:
    RunningVelto::Environment onDisplay() const {
        RunningVelto::Environment environment = server.environment();
        environment["DISPLAY"] = screen.display();
        environment["ASAN_OPTIONS"] = "detect_leaks=0"; // the libraries of a display keep what they made
        return environment;
    }
    RunningVelto::Environment withoutDisplay() const {
        RunningVelto::Environment environment = onDisplay();
        environment["DISPLAY"] = ""; // removed
        return environment;
    }
    RunningVelto start(const RunningVelto::Environment& environment, const std::string& option) {
        return {VELTO_PROGRAM, environment, server.folder() / "velto.log", option};
    }
    /// Its exit status.
    int call(const RunningVelto::Environment& environment, RunningVelto::Words words) {
        words.insert(words.begin(), VELTO_PROGRAM);
        ChildProcess program(std::move(words), {environment, server.folder() / "called.log", false});
        return program.wait(20s).value_or(-1);
    }
    /// The exit status of a line of the shell in which the program is "$velto".
    std::optional<int> shell(RunningVelto::Environment environment, const std::string& line) {
        environment["velto"] = VELTO_PROGRAM;
        ChildProcess program({"sh", "-c", line}, {environment, server.folder() / "called.log", false});
        return program.wait(20s);
    }
    bool hasLoaded(RunningVelto& velto, const std::string& library) {
        std::ifstream maps("/proc/" + std::to_string(velto.process().id()) + "/maps");
        const std::string text(std::istreambuf_iterator<char>(maps), {});
        return text.contains(library);
    }
    bool playsToBoth() { return isPlayedTo("desk") && isPlayedTo("usb"); }

    const VirtualScreen screen;
};

TEST_F(ProgramTests, WithItsWindowsItPlaysIsKilledRecoversAndQuits) {
    {
        RunningVelto velto = start(onDisplay(), "");
        ASSERT_EQ(velto.command({"play", "desk", "usb"}).error, "");
        EXPECT_EQ(call(onDisplay(), {}), 0) << "a second start brings up the panel";
        EXPECT_TRUE(runUntil([&] { return hasLoaded(velto, "velto-windows.so"); }));
        EXPECT_EQ(velto.command({"status"}).error, "") << "it goes on with the panel open";
        velto.process().kill();
    }
    EXPECT_TRUE(lab->exists(aggregateUID));
    RunningVelto velto = start(onDisplay(), "--hidden");
    EXPECT_TRUE(isPutBack());
    EXPECT_TRUE(leavesNoNotes());
    EXPECT_EQ(velto.command({"play", "usb", "blue"}).error, "");
    EXPECT_FALSE(hasLoaded(velto, "velto-windows.so"));
    EXPECT_EQ(velto.command({"quit"}).error, "");
    EXPECT_EQ(velto.process().wait(10s), 0);
    EXPECT_TRUE(isPutBack());
}

TEST_F(ProgramTests, OneWithoutWindowsOpensThemOnTheDisplayOfASecondStartAndPlaysOn) {
    RunningVelto velto = start(withoutDisplay(), "--background");
    ASSERT_EQ(velto.command({"play", "desk", "usb"}).error, "");
    ASSERT_TRUE(runUntil([&] { return id(aggregateUID) != kAudioObjectUnknown; }));
    const AudioObjectID aggregate = id(aggregateUID);
    const int links = lab->linkCount(aggregateUID, "usb");
    EXPECT_FALSE(hasLoaded(velto, "libQt6"));
    EXPECT_EQ(call(server.environment(), {}), 0);
    RunningVelto::Environment nowhere = server.environment();
    nowhere["DISPLAY"] = ":nowhere";
    EXPECT_NE(call(nowhere, {}), 0) << "the second start ends there, and not the one that plays";
    EXPECT_FALSE(hasLoaded(velto, "velto-desktop.so"));
    EXPECT_EQ(call(onDisplay(), {}), 0);
    EXPECT_TRUE(runUntil([&] { return hasLoaded(velto, "libQt6Gui"); }));
    EXPECT_EQ(velto.command({"status"}).error, "");
    velto.waitForState("playing");
    settle();
    EXPECT_EQ(id(aggregateUID), aggregate);
    EXPECT_EQ(lab->linkCount(aggregateUID, "usb"), links);
    velto.process().signal(SIGTERM);
    EXPECT_EQ(velto.process().wait(10s), 0);
    EXPECT_TRUE(isPutBack());
}

TEST_F(ProgramTests, OneWithoutWindowsOpensThemAtAClickOnItsNotification) {
    const PrivateBus bus;
    NotificationShower shower(loop, bus.address());
    RunningVelto::Environment environment = onDisplay();
    environment["DBUS_SESSION_BUS_ADDRESS"] = bus.address();
    RunningVelto velto = start(environment, "--background");
    ASSERT_EQ(velto.command({"play", "desk", "usb"}).error, "");
    unplug("usb");
    ASSERT_TRUE(runUntil([&] { return !shower.told.empty(); }));
    EXPECT_FALSE(hasLoaded(velto, "libQt6"));
    shower.emit("ActionInvoked", "us", shower.lastID, "default");
    EXPECT_TRUE(runUntil([&] { return hasLoaded(velto, "velto-windows.so"); }));
    EXPECT_EQ(velto.command({"quit"}).error, "");
    EXPECT_EQ(velto.process().wait(10s), 0);
    EXPECT_TRUE(isPutBack());
}

TEST_F(ProgramTests, PartsThatAreMissingOrOfAnotherBuildAreNoticedBeforeTheyAreUsed) {
    namespace fs = std::filesystem;
    const fs::path built = fs::path(VELTO_PROGRAM).parent_path();
    const fs::path folder = server.folder() / "installed";
    fs::create_directory(folder);
    fs::copy_file(built / "velto", folder / "velto");
    fs::copy_file(built / "velto-desktop.so", folder / "velto-desktop.so");
    const fs::path log = server.folder() / "installed.log";
    RunningVelto velto(folder / "velto", onDisplay(), log, "--hidden");
    ASSERT_EQ(velto.command({"play", "desk", "usb"}).error, "");
    const auto isLogged = [&](const char* sentence) {
        std::ifstream stream(log);
        return std::string(std::istreambuf_iterator<char>(stream), {}).contains(sentence);
    };
    EXPECT_EQ(call(onDisplay(), {}), 0);
    EXPECT_TRUE(runUntil([&] { return isLogged("missing: velto-windows"); }));
    fs::copy_file(built / "velto-desktop.so", folder / "velto-windows.so");
    EXPECT_EQ(call(onDisplay(), {}), 0);
    EXPECT_TRUE(runUntil([&] { return isLogged("was changed while it ran"); }));
    fs::remove(folder / "velto-windows.so");
    fs::copy_file(built / "velto-windows.so", folder / "velto-windows.so");
    EXPECT_EQ(call(onDisplay(), {}), 0);
    EXPECT_TRUE(runUntil([&] { return hasLoaded(velto, "velto-windows.so"); }));
    EXPECT_TRUE(lab->exists(aggregateUID)) << "what plays goes on";
    EXPECT_EQ(velto.command({"quit"}).error, "");
}

TEST_F(ProgramTests, StartedWithoutStandardStreamsItWritesIntoNothingElse) {
    const auto environment = server.environment();
    EXPECT_EQ(shell(environment, R"("$velto" --background <&- >&- 2>&- & echo $! > "$HOME/velto")"), 0);
    EXPECT_EQ(call(environment, {"play", "desk", "usb"}), 0);
    EXPECT_EQ(shell(environment, R"("$velto" status >&-)"), 0);
    const std::filesystem::path process("/proc/" + lastLineOf(server.folder() / "home/velto"));
    for (const char* stream : {"0", "1", "2"})
        EXPECT_EQ(std::filesystem::read_symlink(process / "fd" / stream), "/dev/null") << stream;
    EXPECT_EQ(call(environment, {"quit"}), 0);
}

TEST_F(ProgramTests, CommandsSayHowTheyEnded) {
    const auto environment = server.environment();
    EXPECT_EQ(call(environment, {"status"}), 1) << "none runs";
    EXPECT_EQ(call(environment, {"plya", "desk", "usb"}), 2);
    EXPECT_EQ(call(environment, {"--help"}), 0);
    EXPECT_EQ(call(environment, {"play", "desk", "usb"}), 0) << "starts it";
    EXPECT_EQ(call(environment, {"--background"}), 0) << "one runs already";
    EXPECT_EQ(call(environment, {"play", "desk", "nobody"}), 1);
    EXPECT_EQ(call(environment, {"volume", "loud"}), 2);
    EXPECT_EQ(call(environment, {"settings", "set", "disconnectBehavior", "dance"}), 2);
    EXPECT_EQ(call(environment, {"presets", "save", std::string(100'000, 'a')}), 2);
    EXPECT_THAT(lastLineOf(server.folder() / "called.log"),
                testing::HasSubstr("more than a command may hold"));
    EXPECT_EQ(shell(environment, R"("$velto" status > /dev/full)"), 1);
    EXPECT_THAT(lastLineOf(server.folder() / "called.log"), testing::HasSubstr("could not be written"));
    EXPECT_EQ(shell(environment, R"("$velto" --help > /dev/full)"), 1);
    EXPECT_EQ(shell(environment, R"("$velto" watch | head -n 1)"), 0) << "nobody reads on";
    EXPECT_EQ(call(environment, {"quit"}), 0);
    EXPECT_TRUE(isPutBack());
    EXPECT_EQ(call(environment, {"quit"}), 1);
}

} // namespace
} // namespace velto
