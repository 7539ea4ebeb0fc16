// DelayNode: the sound server's node that delays: a stereo input, and a stereo output for each tap of a line.
//
// Whoever owns the session links it, by DelayNames. One thing it links itself: where the player leaves, the
// graph would stop with the end of the sound still in the line, and bring it at the next start. So as long as
// something is in the line, a port that never plays anything is linked to the output, actively; when the line
// is empty the link goes, and the graph may rest. Used on the program's loop; the audio thread runs
// process().
#pragma once

#include "Platform/Linux/Delay/DelayLine.h"
#include "Platform/Linux/Delay/LoopSource.h"
#include "Platform/Linux/Delay/ServerListing.h"
#include "Platform/Linux/Delay/Watchdog.h"

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class DelayNode {
  public:
    /// The node is no more; why, as a sentence without its end. It must not be destroyed from within.
    using Over = std::function<void(const std::string& why)>;

    /// How many outputs a node can have at most.
    static constexpr std::size_t mostOutputs = 32;

    /// The line has a tap for each output; the watchdog is put off while sound runs. Throws
    /// std::runtime_error.
    DelayNode(pw_core* core, pw_loop* loop, const std::string& aggregate, std::vector<std::string> outputs,
              DelayLine& line, const Watchdog& watchdog, Over over);
    DelayNode(const DelayNode&) = delete;
    DelayNode& operator=(const DelayNode&) = delete;
    ~DelayNode();

    /// Has the outputs run also while no player plays, until nothing is in the line any more.
    void wake();

  private:
    struct Link;
    struct Events;
    struct Output {
        std::string name;
        std::array<void*, 2> ports{};
        std::string input;            // the port that the keeper is linked to; empty until it is looked up
        std::unique_ptr<Link> keeper; // none while it may rest
    };

    void addPorts();
    void keepAwake();
    bool link(std::size_t place);
    void tryAgainLater();
    void lookUpInputs();
    void stateChanged(pw_filter_state state, const char* error);
    void process(const spa_io_position& position);

    pw_core* core_;
    DelayLine& line_;
    const Watchdog& watchdog_;
    Over over_;
    pw_filter* filter_ = nullptr;
    spa_hook hook_{};
    std::array<void*, 2> inputs_{};
    std::vector<Output> outputs_;
    /// The outputs that are to be kept awake, a bit each.
    std::atomic<std::uint32_t> awake_ = 0;
    LoopSource awakeChanged_;
    /// What was in vain is tried again, ever less often.
    LoopSource attempts_;
    int attempt_ = 0;
    std::optional<ServerListing> listing_;
    // Of the audio thread
    std::vector<DelayLine::Tap> taps_;
    std::uint64_t nextPosition_ = 0;
    std::uint32_t clockID_ = SPA_ID_INVALID;
    std::uint64_t framesSincePutOff_ = 0; // the watchdog
};

} // namespace velto
