#include "Velto/Commands/CommandService.h"

#include "Tests/Shell/ShellTest.h"
#include "Velto/Commands/CommandTable.h"
#include "Velto/Commands/CommandText.h"

#include <nlohmann/json.hpp>

#include <map>
#include <optional>

namespace velto {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// Somebody who talks to the program.
struct Asker final : LineClient {
    void send(std::string line) override { answers.push_back(JSON::parse(line)); }
    void sendLatest(std::string line) override { send(std::move(line)); }
    void close() override { isClosed = true; }

    std::vector<JSON> answers;
    bool isClosed = false;
    std::unique_ptr<LineConversation> conversation;
};

/// The application of the shell's tests, and what is said to it.
class CommandServiceTests : public ShellTest {
  protected:
    void launch() {
        ShellTest::launch();
        service.emplace(state(), CommandService::Program{.quit = [this] { app->quit(); },
                                                         .raise =
                                                             [this](const auto& environment) {
                                                                 raised.push_back(environment);
                                                                 return !environment.empty();
                                                             }});
    }
    void TearDown() override {
        service.reset();
        quit();
    }
    /// Begins; what is to be waited for is not over yet.
    std::unique_ptr<Asker> ask(std::string command, std::vector<std::string> arguments = {}) {
        auto asker = std::make_unique<Asker>();
        asker->conversation = service->converse(*asker);
        asker->conversation->received(CommandRequest{std::move(command), std::move(arguments)}.line());
        return asker;
    }
    JSON answer(std::string command, std::vector<std::string> arguments = {}) {
        const auto asker = ask(std::move(command), std::move(arguments));
        run();
        EXPECT_THAT(asker->answers, SizeIs(1));
        EXPECT_TRUE(asker->isClosed);
        return asker->answers.empty() ? JSON() : asker->answers.front();
    }
    std::string error(std::string command, std::vector<std::string> arguments = {}) {
        return answer(std::move(command), std::move(arguments)).value("error", "done");
    }

    std::vector<std::map<std::string, std::string>> raised;
    std::optional<CommandService> service;
};

TEST_F(CommandServiceTests, EachCommandIsDoneWhenItIsAnswered) {
    world.delaysOutputs = true;
    launch();
    for (const Command& command : commandTable())
        EXPECT_THAT(error(std::string(command.name), std::vector<std::string>(9)), HasSubstr("9 arguments"));
    JSON status = answer("play", {"builtin", "bluetooth"});
    EXPECT_EQ(status["state"], "playing");
    EXPECT_EQ(status["outputs"].size(), 2U);
    EXPECT_TRUE(menuBar().isPlaying());

    answer("volume", {"40%", "builtin"});
    EXPECT_NEAR(volumeOf("builtin"), 0.4F, 0.01F);
    answer("volume", {"+5%", "builtin"});
    EXPECT_NEAR(volumeOf("builtin"), 0.45F, 0.01F);
    const float master = menuBar().masterVolume();
    status = answer("volume", {"-10%"});
    EXPECT_NEAR(status["volume"].get<float>(), master - 0.1F, 0.01F);
    EXPECT_EQ(error("volume", {"150%"}), "“150%” is no volume; such are 40%, +5% and -5%, from 0% to 100%.");
    EXPECT_THAT(error("volume", {"40%", "usb"}), HasSubstr("There is no output “usb”. There are: "));

    world.plug(SimulatedDevice::microphone());
    EXPECT_EQ(answer("inputs")["inputs"][0]["name"], "Microphone");
    room.outputs["bluetooth"].milliseconds = 183.4;
    room.acoustics.noise = 0.0005;
    const auto aligning = ask("align", {"mic"});
    loop.advance(std::chrono::seconds(1));
    EXPECT_EQ(error("align"), "The outputs are being measured already.");
    run();
    ASSERT_THAT(aligning->answers, SizeIs(4)) << "three steps, and the answer";
    EXPECT_EQ(aligning->answers[1]["progress"]["step"], "measuring");
    EXPECT_EQ(aligning->answers[3]["alignment"]["outputs"][1]["lateBefore"], 183.4);
    EXPECT_EQ(aligning->answers[3]["alignment"]["outputs"][0]["delay"], 183.4);
    EXPECT_THAT(CommandText::of(aligning->answers[3]),
                HasSubstr(" was 183.4 ms late. Both now arrive together"));
    EXPECT_EQ(error("align", {"nobody"}), "There is no input “nobody”. There are: Microphone.");

    const auto delayed = [&](const char* word) {
        const JSON told = answer("delay", {word, "builtin"});
        return told["outputs"][told["outputs"][0]["uid"] == "builtin" ? 0 : 1]["delay"].get<double>();
    };
    EXPECT_EQ(delayed("12.5"), 12.5);
    EXPECT_EQ(delayed("+5ms"), 17.5);
    EXPECT_EQ(delayed("-0.1"), 17.4);
    for (const char* word : {"", "+", ".", "++5", "1.2.3", "1,5", "0x10", "1e2", "nan", "inf", "1001", " 5"})
        EXPECT_THAT(error("delay", {word, "builtin"}), HasSubstr("is no delay; such are 180")) << word;

    answer("presets save", {"Evening"});
    EXPECT_THAT(presetNames(), ElementsAre("Evening"));
    answer("presets rename", {"evening", "Night"});
    EXPECT_THAT(answer("presets favourite", {"Night"})["presets"][0]["isFavorite"], true);
    EXPECT_THAT(answer("presets favourite", {"Night", "off"})["presets"][0]["isFavorite"], false);
    EXPECT_THAT(answer("presets auto-connect", {"Night"})["presets"][0]["isAutoConnect"], true);
    answer("presets auto-connect", {"Night", "off"});

    EXPECT_EQ(answer("reconnect")["state"], "playing");
    EXPECT_EQ(answer("stop")["state"], "idle");
    EXPECT_THAT(world.aggregates(), IsEmpty());
    EXPECT_EQ(answer("play", {"Night"})["preset"], "Night");
    EXPECT_EQ(answer("toggle")["state"], "idle");
    EXPECT_EQ(answer("toggle")["state"], "playing");
    EXPECT_EQ(answer("reset")["state"], "idle");
    EXPECT_THAT(answer("presets delete", {"Night"})["presets"], SizeIs(0));
}

TEST_F(CommandServiceTests, WhatCannotBeDoneIsRefusedWithASentenceAndChangesNothing) {
    launch();
    const auto calls = world.aggregates().size();
    EXPECT_EQ(error("stop"), "done") << "it is so already";
    for (const char* command : {"reconnect"})
        EXPECT_EQ(error(command), "Nothing plays together.");
    EXPECT_EQ(error("volume", {"40%"}), "Nothing plays together.");
    EXPECT_EQ(error("presets save", {"X"}), "Nothing plays together.");
    EXPECT_THAT(error("presets save", {" Last Used"}), HasSubstr("Choose another name."));
    EXPECT_EQ(error("answer", {"keep"}), "Nothing is asked.");
    EXPECT_THAT(error("play", {"builtin", "builtin"}), HasSubstr("choose two outputs"));
    EXPECT_THAT(error("play", {"builtin", "nobody"}), HasSubstr("There is no output “nobody”. There are: "));
    EXPECT_EQ(error("play", {"Night"}), "There is no preset “Night”, nor any other.");
    EXPECT_THAT(error("dance"), HasSubstr("There is no command “dance”."));
    EXPECT_THAT(error("settings set", {"disconnectBehavior", "dance"}), HasSubstr("askUser"));
    EXPECT_THAT(error("settings set", {"volume", "loud"}),
                HasSubstr("There is no setting “volume”. There are: "));
    EXPECT_EQ(world.aggregates().size(), calls);

    world.plug({.uid = "twin", .name = world.device("usb").name});
    run();
    EXPECT_THAT(error("play", {world.device("usb").name, "builtin"}), HasSubstr("fits several outputs: "));
    EXPECT_FALSE(menuBar().isPlaying());

    world.calls.failNext(CoreAudioOperation::createAggregateDevice, kAudioHardwareUnspecifiedError);
    EXPECT_THAT(error("play", {"builtin", "bluetooth"}), HasSubstr("audio hardware error. Use Reset"));
    world.stopAudioService();
    run();
    const auto isTold = testing::StartsWith("No sound server is running.");
    EXPECT_THAT(error("play", {"builtin", "bluetooth"}), isTold);
}

TEST_F(CommandServiceTests, WhoWatchesIsToldOfEachChangeAndOfTheQuestion) {
    launch();
    answer("settings set", {"disconnectBehavior", "askUser"});
    const auto watcher = ask("watch");
    ASSERT_THAT(watcher->answers, SizeIs(1));
    run();
    EXPECT_THAT(watcher->answers, SizeIs(1)) << "nothing has changed";
    answer("play", {"builtin", "bluetooth"});
    EXPECT_EQ(watcher->answers.back()["state"], "playing");
    unplug("bluetooth");
    EXPECT_EQ(watcher->answers.back()["state"], "degraded");
    EXPECT_EQ(watcher->answers.back()["question"]["uid"], "bluetooth");
    EXPECT_THAT(CommandText::of(watcher->answers.back()),
                HasSubstr("velto answer keep, or velto answer stop?"));
    EXPECT_EQ(answer("answer", {"stop"})["state"], "idle");
    EXPECT_EQ(watcher->answers.back()["state"], "idle");

    std::vector<std::unique_ptr<Asker>> crowd;
    while (crowd.size() < CommandService::mostWatchers)
        crowd.push_back(ask("watch"));
    EXPECT_EQ(crowd.back()->answers.back().value("error", ""), "Too many watch Velto already.");
    crowd.clear();
    EXPECT_FALSE(ask("watch")->isClosed);
}

TEST_F(CommandServiceTests, WhoGoesOnlyStopsWaiting) {
    launch();
    ask("play", {"builtin", "bluetooth"}).reset();
    run();
    EXPECT_TRUE(menuBar().isPlaying());
    auto test = ask("test");
    loop.runReady();
    EXPECT_TRUE(settings().isSyncTestRunning());
    EXPECT_THAT(test->answers, IsEmpty());
    run();
    EXPECT_THAT(test->answers, SizeIs(1));
    EXPECT_FALSE(settings().isSyncTestRunning());
}

TEST_F(CommandServiceTests, TwoAtOnceAreDoneOneAfterTheOther) {
    launch();
    const auto play = ask("play", {"builtin", "bluetooth"});
    const auto other = ask("play", {"usb", "builtin"});
    const auto stop = ask("stop");
    run();
    for (const auto* asker : {&play, &other, &stop})
        ASSERT_THAT((*asker)->answers, SizeIs(1));
    EXPECT_EQ(stop->answers.front().value("error", "done"), "done");
    EXPECT_FALSE(menuBar().isPlaying());
}

TEST_F(CommandServiceTests, WhatIsNoRequestIsAnsweredAndDoesNothing) {
    launch();
    const std::string deep(60'000, '[');
    for (const std::string& line :
         {std::string(), std::string("hello"), std::string("[1]"), std::string("{}"), deep,
          std::string(R"({"version": 2, "command": "stop"})"), std::string("\0\xFF\x80", 3),
          std::string(R"({"version": 1, "command": 7})"),
          std::string(R"({"version": 1, "command": "play", "arguments": "A"})")}) {
        Asker asker;
        asker.conversation = service->converse(asker);
        asker.conversation->received(line);
        run();
        ASSERT_THAT(asker.answers, SizeIs(1)) << line.substr(0, 80);
        EXPECT_TRUE(asker.answers.front().contains("error")) << line.substr(0, 80);
    }
    EXPECT_EQ(answer("raise")["isRaised"], false);
    EXPECT_THAT(raised, SizeIs(1));
}

TEST_F(CommandServiceTests, QuitIsAnsweredAndNothingElseFromThenOn) {
    launch();
    answer("play", {"builtin", "bluetooth"});
    const auto leaver = ask("quit");
    run();
    EXPECT_THAT(leaver->answers, SizeIs(1));
    EXPECT_FALSE(leaver->isClosed) << "that comes with the program's end";
    EXPECT_THAT(world.aggregates(), IsEmpty());
    EXPECT_EQ(error("status"), "Velto is about to end.");
}

} // namespace
} // namespace velto
