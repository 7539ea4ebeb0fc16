// SessionRemote: drives the session program through its lines, and knows what it has told.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace velto {

class SessionRemote {
  public:
    /// Starts the program; returns when it is ready. Throws std::runtime_error, as all below do.
    SessionRemote(const std::filesystem::path& program, std::map<std::string, std::string> environment,
                  const std::filesystem::path& log);

    struct Answer {
        double milliseconds = 0;
        /// Empty for success.
        std::string error;
    };
    Answer command(const std::string& line);
    /// A command that must not fail.
    void require(const std::string& line);

    // What the program has told so far

    const std::string& state() const noexcept { return state_; }
    /// The output about which the user is asked; empty when there is no question.
    const std::string& question() const noexcept { return question_; }
    /// The volume of an output that plays; none when nothing was told of it.
    std::optional<double> volume(const std::string& output) const;
    bool isClicking() const noexcept { return isClicking_; }
    /// The volumes that a preset holds, by output.
    std::map<std::string, double> presetVolumes(const std::string& name);

    /// Listens until the condition, asked anew after each line, holds. `what` completes "The session program
    /// did not tell that".
    void waitUntil(const std::function<bool()>& condition, const std::string& what);
    void waitForState(const std::string& state);

    ChildProcess& process() noexcept { return process_; }

  private:
    struct Line;
    Line read();
    Line answerTo(const std::string& command);

    ChildProcess process_;
    std::string state_ = "idle";
    std::string question_;
    std::map<std::string, double> volumes_;
    bool isClicking_ = false;
};

} // namespace velto
