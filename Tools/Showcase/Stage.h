// Stage: a private sound server with four outputs, a stock player, the program as it is shipped, and a tape
// of what each output plays: all that the chapters of the story act on.
//
// The program runs without windows, and is commanded, killed and put to sleep from outside. The server plays;
// nothing here touches the sound.
#pragma once

#include "Tools/Judge/Story.h"
#include "Tools/Showcase/Tape.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/PrivateBus.h"
#include "Tools/SoundLab/PrivateSoundServer.h"
#include "Tools/SoundLab/RunningVelto.h"
#include "Tools/SoundLab/SleepAnnouncer.h"
#include "Tools/SoundLab/SoundLab.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

using judge::Story;
using judge::StoryOutput;
using judge::StoryStep;

// The outputs, and the one that the session makes of two.
constexpr const char* desk = "velto.lab.desk";
constexpr const char* usb = "velto.lab.usb";
constexpr const char* speaker = "velto.lab.speaker";
constexpr const char* display = "velto.lab.display";
constexpr const char* aggregate = "com.corlent.velto.aggregate";

/// What an output at that volume makes of the sound: the scale is cubic.
constexpr double gainAt(double volume) { return volume * volume * volume; }

class Stage {
  public:
    struct Options {
        std::filesystem::path folder;
        std::filesystem::path program;
    };
    /// Starts server, outputs, tape and player. Throws std::runtime_error with one sentence.
    explicit Stage(Options options);

    /// What must be heard and reported once a step is done.
    struct Expectation {
        std::vector<std::string> sound;
        std::string defaultOutput;
        bool record = false;
    };
    using Act = std::function<void(StoryStep&)>;
    /// Acts, listens, and adds the step to the story. The act may set the window itself. What it throws is
    /// noted as the step's problem.
    void step(const std::string& name, const std::string& expected, const Expectation& expectation,
              const Act& act);
    /// Ends the story, and writes it and what was heard to the folder.
    void write();

    // What acts are made of

    SoundLab& lab() { return *lab_; }
    std::string socket() const { return server_.socket(); }
    RunningVelto& velto();
    void launchVelto();
    void killVelto();
    void fallAsleep() { login_.fallAsleep(); }
    /// Returns when the program has looked after what it finds.
    void wake();
    /// A command that takes its time, which is limited; its error is the step's problem.
    void operate(StoryStep& step, const std::string& label, const RunningVelto::Words& command);
    void startOn(StoryStep& step, const std::string& first, const std::string& second);
    /// Each answers when it happened.
    double unplug(const std::string& output);
    double plug(const std::string& output);
    /// The output is due to sound again soon after it was plugged in at that time.
    void expectReturn(StoryStep& step, const std::string& output, double event);

    /// Picks the default as somebody else would; returns when the session manager has saved it for its next
    /// start.
    void pickForGood(const std::string& output);

    void startPlayer();
    void endPlayer();
    /// Kills the server with all that hangs on it.
    void killServer();
    /// Starts it again with the same outputs. The tape and the player don't run yet.
    void restartServer();
    void startTape();

    double now() const { return tape_.seconds(monotonicNow()); }
    /// Notes an event in the story; answers its time.
    double mark(const std::string& label);
    void waitUntil(double second) const;
    /// When what was just done must be heard.
    double settled() const;
    /// Waits until the output is heard again from now on.
    void waitForSound(const std::string& output) const;
    void waitForSilence(const std::string& output) const;
    /// Throws unless the condition holds: what is wrong then.
    static void check(bool holds, const std::string& problem);

    /// Set from a signal handler: the story ends at the next wait.
    static std::atomic<bool> isInterrupted;

  private:
    void plugOutputs();
    void listen(StoryStep& step, const Expectation& expectation);
    void waitWhile(const std::function<bool()>& condition, const std::string& problem) const;
    const std::string& name(const std::string& output) const;
    bool hasRecord() const;
    std::string alertOutput();

    Options options_;
    PrivateSoundServer server_;
    PrivateBus bus_;
    SleepAnnouncer login_{bus_.address()};
    std::optional<SoundLab> lab_;
    std::map<std::string, VirtualOutput> outputs_;
    Story story_;
    Tape tape_;
    std::optional<ChildProcess> player_;
    std::optional<RunningVelto> velto_;
};

} // namespace velto
