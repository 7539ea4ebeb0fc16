// Showcase: plays a story on a private sound server, through the production classes, and records what is
// heard.
//
// The session runs in a program of its own, because the story kills it. A stock player plays; the server
// plays on; nothing here touches the sound.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/PrivateSoundServer.h"
#include "Tools/SoundLab/SoundLab.h"
#include "Tools/SoundLab/Story.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class Showcase {
  public:
    struct Options {
        std::filesystem::path folder;
        std::filesystem::path sessionProgram;
    };
    /// Starts server, outputs, recorder and player. Throws std::runtime_error with one sentence.
    explicit Showcase(Options options);

    /// Plays all steps. A step that fails is noted in the story, and the next one is tried.
    void play();
    /// Ends the recording and writes it, and the story, to the folder.
    void write();

    /// Set from a signal handler: the story ends at the next wait.
    static std::atomic<bool> isInterrupted;

  private:
    /// The answer of the session program to one command.
    struct Answer {
        double milliseconds = 0;
        std::string error;
    };
    struct Expectation {
        std::vector<std::string> sound;
        std::string defaultOutput;
        bool record = false;
    };

    using Act = std::function<void(StoryStep&)>;

    void playBefore();
    void playSessionWithUnplug();
    void playChoiceOfSomebodyElse();
    void playCrashAndRecovery();
    void playPreset();
    void playUnattended();
    void playNothingLeft();

    void launchSession();
    Answer command(const std::string& line);
    /// A command that must not fail.
    void require(const std::string& line);
    void waitForState(const std::string& state);
    void waitUntil(double second) const;
    double now() const;
    double mark(const std::string& label);
    void step(const std::string& name, const std::string& expected, const Expectation& expectation,
              const Act& act);
    void playStop(StoryStep& step);
    void startOn(StoryStep& step, const std::string& first, const std::string& second);
    void listen(StoryStep& step, const Expectation& expectation);
    bool hasRecord() const;
    std::string alertOutput();

    Options options_;
    PrivateSoundServer server_;
    SoundLab lab_;
    std::map<std::string, VirtualOutput> outputs_;
    Story story_;
    std::optional<OutputRecorder> recorder_;
    std::optional<ChildProcess> player_;
    std::optional<ChildProcess> session_;
    std::string sessionState_ = "idle";
};

} // namespace velto
