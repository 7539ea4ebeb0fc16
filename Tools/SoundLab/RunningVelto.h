// RunningVelto: the shipped program, run and commanded as a script would, and what it has told.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class RunningVelto {
  public:
    using Words = std::vector<std::string>;
    using Environment = std::map<std::string, std::string>;

    /// Starts the program, with that option unless it is empty; returns when it answers. Throws
    /// std::runtime_error, as all below do.
    RunningVelto(std::filesystem::path program, Environment environment, std::filesystem::path log,
                 const std::string& option = "--background");

    struct Answer {
        /// As the program has measured it.
        double milliseconds = 0;
        int exitStatus = 0;
        /// Empty for success.
        std::string error{};
        /// The object, as text.
        std::string json{};
    };
    /// What `velto WORDS --json` says.
    Answer command(const Words& words);
    /// A command that must not fail.
    void require(const Words& words);
    /// The volumes that a preset holds, by output.
    std::map<std::string, double> presetVolumes(const std::string& name);

    // What the program has told so far

    const std::string& state() const noexcept { return state_; }
    /// The output about which the user is asked; empty when there is no question.
    const std::string& question() const noexcept { return question_; }
    /// The volume of an output that plays; none when nothing was told of it.
    std::optional<double> volume(const std::string& output) const;

    /// Listens until the condition, asked anew after each line, holds. `what` completes "Velto did not tell
    /// that".
    void waitUntil(const std::function<bool()>& condition, const std::string& what);
    void waitForState(const std::string& state);

    ChildProcess& process() noexcept { return process_; }

  private:
    void startWatching();
    bool readLine();

    std::filesystem::path program_;
    Environment environment_;
    std::filesystem::path log_;
    ChildProcess process_;
    std::optional<ChildProcess> watcher_; // ends first
    std::string state_;
    std::string question_;
    std::map<std::string, double> volumes_;
};

} // namespace velto
