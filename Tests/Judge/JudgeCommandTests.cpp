#include "Tools/Judge/JudgeCommand.h"

#include "Tests/Judge/Studio.h"
#include "Tools/Judge/Report.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>

namespace velto::judge {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using enum Studio::Output;
using Status = JudgeCommand::Status;

void writeSound(const fs::path& file, Frames frames, int format = SF_FORMAT_FLOAT, int channels = 2,
                int rate = sampleRate) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | format;
    SNDFILE* sound = sf_open(file.c_str(), SFM_WRITE, &info);
    ASSERT_NE(sound, nullptr);
    // One channel gets both in turn: what it sounds like is of no interest then.
    sf_write_float(sound, &frames.front().left, 2 * static_cast<sf_count_t>(frames.size()));
    sf_close(sound);
}

std::string contentsOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A folder with a story in which two outputs play, as somebody else would write it.
class JudgeCommandTests : public testing::Test {
  protected:
    JudgeCommandTests() {
        std::string pattern = (fs::temp_directory_path() / "velto-judge-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        writeSound(folder / "source.wav", studio.source.frames(), SF_FORMAT_PCM_16);
        studio.play(desk, 0.5, 7);
        studio.play(usb, 0.5, 7, 0, 0.5f);
        writeRecordings();
        for (const char* uid : {"desk", "usb", "display"})
            story["outputs"].push_back({{"uid", uid},
                                        {"name", std::string("The ") + uid},
                                        {"kind", "USB, 48 kHz"},
                                        {"recording", std::string(uid) + ".wav"}});
        story["sampleRate"] = 48000;
        story["source"] = "source.wav";
        story["events"] = {{{"time", 0.5}, {"label", "Play Together"}}};
        story["steps"] = {{{"name", "start on two outputs"},
                           {"expected", "both play"},
                           {"from", 1.0},
                           {"to", 3.0},
                           {"sound", {"desk", "usb"}},
                           {"skewLimitSamples", 0},
                           {"milliseconds", 11.25},
                           {"limitMilliseconds", 25},
                           {"survivor", {{"uid", "usb"}, {"event", 2.0}, {"lostLimitSamples", 0}}},
                           {"returned", {{"uid", "desk"}, {"event", 0.45}, {"limitMilliseconds", 60}}},
                           {"default", asExpected("com.example.aggregate")},
                           {"alert", asExpected("desk")},
                           {"record", asExpected(true)}}};
    }
    ~JudgeCommandTests() override { fs::remove_all(folder); }

    static json asExpected(const json& value) { return {{"expected", value}, {"actual", value}}; }

    void writeRecordings() {
        for (const Studio::Output output : {desk, usb, display})
            writeSound(folder / (Studio::uid(output) + ".wav"), studio.recording(output));
    }

    Status run() {
        std::ofstream(folder / "story.json") << story.dump();
        return judgeStoryFile();
    }
    Status judgeStoryFile() {
        output.str("");
        errors.str("");
        return JudgeCommand{.story = folder / "story.json", .report = folder / "report.json"}.run(output,
                                                                                                  errors);
    }

    Studio studio;
    fs::path folder;
    json story;
    std::ostringstream output;
    std::ostringstream errors;
};

TEST_F(JudgeCommandTests, StoryThatPasses) {
    EXPECT_EQ(run(), Status::allPass) << output.str() << errors.str();
    EXPECT_THAT(output.str(), EndsWith("\n1 step passed, 0 failed\n"));
    EXPECT_THAT(output.str(), HasSubstr("11.2, back 50.0"));
    const json report = json::parse(contentsOf(folder / "report.json"));
    const json& step = report.at("steps").at(0);
    EXPECT_EQ(report.at("verdict"), "pass");
    EXPECT_EQ(step.at("skewSamples"), 0);
    EXPECT_EQ(step.at("survivor").at("lostSamples"), 0);
    EXPECT_EQ(step.at("returned").at("milliseconds"), 50);
    EXPECT_EQ(step.at("recordActual"), true);
    EXPECT_EQ(step.at("outputs").at(1).at("lagSamples"), Studio::playerLag);
    EXPECT_GT(step.at("outputs").at(1).at("lowestCorrelation"), 0.999);
    EXPECT_EQ(step.at("outputs").at(2).at("due"), "silence");
}

TEST_F(JudgeCommandTests, WhatIsWrittenIsReadAgain) {
    story["steps"][0].update({{"gains", {{"usb", 0.5}}}, {"problem", "none"}});
    ASSERT_EQ(run(), Status::stepFailed) << errors.str();
    Story first = readStory(folder / "story.json");
    for (StoryOutput& output : first.outputs)
        output.recording = fs::path(output.recording).filename();
    first.source = "source.wav";
    writeStory(first, folder / "written.json");
    EXPECT_EQ(json::parse(contentsOf(folder / "written.json")), story);

    const auto told = readReport(folder / "report.json");
    EXPECT_EQ(reportJSON(first, told), contentsOf(folder / "report.json"));
}

TEST_F(JudgeCommandTests, StoryThatFallsShort) {
    studio.play(usb, 0.5, 7, 480);
    writeRecordings();
    story["steps"][0]["record"]["actual"] = nullptr;
    story["steps"][0]["default"]["actual"] = "usb";
    story["steps"][0]["milliseconds"] = 25.1;
    EXPECT_EQ(run(), Status::stepFailed);
    for (const char* reason :
         {"The usb plays 480 samples later than The desk, 0 are allowed", "took 25.1 ms, 25.0 ms are allowed",
          "the default output is usb, it should be com.example.aggregate",
          "the recovery record is unknown, it should be present"})
        EXPECT_THAT(output.str(), HasSubstr("\n    ✗ " + std::string(reason) + "\n"));
    EXPECT_THAT(output.str(), EndsWith("\n0 steps passed, 1 failed\n"));
    const json report = json::parse(contentsOf(folder / "report.json"));
    EXPECT_EQ(report.at("verdict"), "fail");
    EXPECT_EQ(report.at("steps").at(0).at("skewSamples"), 480);
    EXPECT_EQ(report.at("steps").at(0).at("reasons").size(), 4);
}

TEST_F(JudgeCommandTests, StoryThatCannotBeTakenAtItsWord) {
    struct Case {
        const char* sentence;
        std::function<void(json&)> spoil;
    };
    const auto inStep = [](const char* key, json value) {
        return [key, value](json& story) { story["steps"][0][key] = value; };
    };
    const Case cases[] = {
        {"\"sampleRate\" must be 48000", [](json& story) { story["sampleRate"] = 44100; }},
        {"step 1: it is no object", [](json& story) { story["steps"][0] = 1; }},
        {"no output has the UID tv", inStep("sound", {"tv"})},
        {"outside of the recordings, which last 8.000 s", inStep("to", 8.01)},
        {"too short to be judged", inStep("to", 1.05)},
        {"\"skewLimitSamples\" must be a whole number", inStep("skewLimitSamples", -1)},
        {"step 1: the key \"lostLimit\" is unknown", inStep("lostLimit", 0)},
        {"step 1, survivor: \"event\" is missing", inStep("survivor", {{"uid", "usb"}})},
        {"around the survivor's event", inStep("survivor", {{"uid", "usb"}, {"event", 0.4}})},
        {"\"gains\" names an output on which no sound is due", inStep("gains", {{"display", 1}})},
        {"clicks tell nothing of a loss",
         [](json& story) {
             story["steps"][0]["clicks"] = {{"peak", 0.5}, {"intervalSamples", 4800}};
         }},
        {"not before the end of the window", inStep("returned", {{"uid", "desk"}, {"event", 3}})},
    };
    const json sound = story;
    for (const Case& fault : cases) {
        story = sound;
        fault.spoil(story);
        EXPECT_EQ(run(), Status::unusable) << fault.sentence;
        EXPECT_THAT(errors.str(), HasSubstr(fault.sentence));
        EXPECT_EQ(std::ranges::count(errors.str(), '\n'), 1);
        EXPECT_EQ(output.str(), "");
    }
}

TEST_F(JudgeCommandTests, FilesThatCannotBeUsed) {
    struct Case {
        const char* sentence;
        std::function<void()> spoil;
    };
    const fs::path usbFile = folder / "usb.wav";
    std::vector<Frame> broken = studio.recording(usb);
    broken[5].right = std::numeric_limits<float>::quiet_NaN();
    const Case cases[] = {
        {"usb.wav can't be read", [&] { std::ofstream(usbFile) << "no sound"; }},
        {"usb.wav has 1 channels", [&] { writeSound(usbFile, studio.recording(usb), SF_FORMAT_FLOAT, 1); }},
        {"must be of one length", [&] { writeSound(usbFile, Frames(broken).subspan(7)); }},
        {"not numbers", [&] { writeSound(usbFile, broken); }},
        {"The source is silent", [&] { writeSound(folder / "source.wav", std::vector<Frame>(48000)); }},
        {"report.json can't be written", [&] { fs::create_directory(folder / "report.json"); }},
    };
    for (const Case& fault : cases) {
        fs::remove(folder / "report.json");
        writeRecordings();
        writeSound(folder / "source.wav", studio.source.frames());
        ASSERT_EQ(run(), Status::allPass);
        fs::remove(folder / "report.json");
        fault.spoil();
        EXPECT_EQ(run(), Status::unusable) << fault.sentence;
        EXPECT_THAT(errors.str(), HasSubstr(fault.sentence));
    }
    std::ofstream(folder / "story.json") << R"({"steps": [)";
    EXPECT_EQ(judgeStoryFile(), Status::unusable);
    EXPECT_THAT(errors.str(), HasSubstr("is not JSON"));
}

} // namespace
} // namespace velto::judge
