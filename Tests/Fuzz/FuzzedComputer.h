// FuzzedComputer: a simulated computer on which Velto runs, whatever is said to it and whatever its outputs
// are called.
//
// Sound goes to the USB interface, alerts to the display: without a session they must go there again. Each
// answer must be one JSON object, and what people are shown of it must be fit to be shown.
#pragma once

#include "Tests/Support/Application.h"
#include "Velto/Commands/CommandService.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class FuzzedComputer {
  public:
    /// With the usual outputs; Velto is not launched yet.
    FuzzedComputer();
    FuzzedComputer(const FuzzedComputer&) = delete;
    FuzzedComputer& operator=(const FuzzedComputer&) = delete;
    /// Ends the program: nothing may be left.
    ~FuzzedComputer();

    void launch();
    /// Ends it without a word.
    void crash();
    void run() { machine.loop.runUntilIdle(); }
    /// Says it; `isWaitedFor`: until nothing is left to do. The number under which answers() has what comes.
    std::size_t say(std::string line, bool isWaitedFor = true);
    const std::vector<std::string>& answers(std::size_t asked) const;
    /// Says nothing may be wrong now.
    void requireQuiet();

    Machine machine;
    /// Where sound and alerts go without a session.
    InvariantContext context{.defaultOutputs = {"usb"}, .alertOutputs = {"hdmi"}};
    std::unique_ptr<Application> application;

  private:
    struct Asker;

    void hangUp();

    std::optional<CommandService> service_;
    std::vector<std::unique_ptr<Asker>> askers_;
    std::vector<Started<void>> quitting_;
};

/// Nothing that a terminal takes for orders, or that turns the order of letters around.
void requireShowable(std::string_view text);

} // namespace velto
