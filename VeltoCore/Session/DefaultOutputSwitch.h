// DefaultOutputSwitch: tells somebody's choice of an output from what our own switch to the aggregate makes
// the default output read.
//
// A part of SystemOutputs. A system may switch late. Until the switch shows, the default output of before is
// nobody's choice, nor is what we ourselves had put back just then; any other is.
#pragma once

#include <set>
#include <string>

namespace velto {

class DefaultOutputSwitch {
  public:
    /// What reads as the default output before the switch shows. Until end().
    void mayShowFirst(std::string uid) { before_.insert(std::move(uid)); }
    /// The switch to the aggregate is asked for.
    void begin() noexcept { isPending_ = true; }
    /// It shows, or no longer matters.
    void end() noexcept {
        before_.clear();
        isPending_ = false;
    }
    bool isPending() const noexcept { return isPending_; }
    /// Whether somebody made that the default output. The aggregate ends the switch: it shows.
    bool isChoice(const std::string& uid);

  private:
    std::set<std::string> before_;
    bool isPending_ = false;
};

} // namespace velto
