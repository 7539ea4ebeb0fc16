// CommandOperations: does what a command asks for, on the application, as its views would.
//
// Owned by CommandService; main actor only. The answer comes when what was asked for is so; it throws
// CommandFailure where that will not be.
#pragma once

#include "Velto/Commands/CommandRequest.h"
#include "Velto/Shell/AppState.h"
#include "VeltoCore/Async/Task.h"

#include <functional>
#include <string>
#include <vector>

namespace velto {

class CommandOperations {
  public:
    using Arguments = std::vector<std::string>;

    /// The application must outlive it. To quit is the program's.
    CommandOperations(AppState& app, std::function<void()> quit) : app_(app), quit_(std::move(quit)) {}
    CommandOperations(const CommandOperations&) = delete;
    CommandOperations& operator=(const CommandOperations&) = delete;

    /// Throws for what is not in the table, or has other arguments.
    static void require(const CommandRequest& request);
    /// What is told on the way to an answer.
    using Progress = std::function<void(const JSON&)>;
    /// A request of the table.
    Task<JSON> perform(CommandRequest request, Progress progress);

  private:
    Task<JSON> outputs(Arguments arguments);
    Task<JSON> status(Arguments arguments);
    Task<JSON> play(Arguments arguments);
    Task<JSON> stop(Arguments arguments);
    Task<JSON> toggle(Arguments arguments);
    Task<JSON> reconnect(Arguments arguments);
    Task<JSON> answer(Arguments arguments);
    Task<JSON> reset(Arguments arguments);
    Task<JSON> volume(Arguments arguments);
    Task<JSON> mute(Arguments arguments);
    Task<JSON> delay(Arguments arguments);
    Task<JSON> inputs(Arguments arguments);
    Task<JSON> align(Arguments arguments, Progress progress);
    Task<JSON> presets(Arguments arguments);
    Task<JSON> savePreset(Arguments arguments);
    Task<JSON> renamePreset(Arguments arguments);
    Task<JSON> deletePreset(Arguments arguments);
    Task<JSON> favoritePreset(Arguments arguments);
    Task<JSON> autoConnectPreset(Arguments arguments);
    Task<JSON> settings(Arguments arguments);
    Task<JSON> getSetting(Arguments arguments);
    Task<JSON> setSetting(Arguments arguments);
    Task<JSON> test(Arguments arguments);
    Task<JSON> quit(Arguments arguments);

    using Operation = Task<JSON> (CommandOperations::*)(Arguments);
    static Operation operation(const std::string& command);

    Task<void> playOn(AudioOutputDevice first, AudioOutputDevice second);
    Task<void> playPreset(AudioPreset preset);
    /// Waits until the condition, looked at after each change of what the user is shown, holds; no longer
    /// than anybody would. False when it doesn't.
    Task<bool> until(std::function<bool()> condition);
    /// Waits for what is under way; throws when that doesn't end.
    Task<void> settled();
    std::vector<AudioPreset> userPresets() const { return app_.preferences().userPresets(); }
    /// The outputs that the words name of those that play: all without a word.
    std::vector<OutputCard> playing(const Arguments& words);
    void requireSession() const;
    [[noreturn]] void failed(const std::string& otherwise) const;

    AppState& app_;
    std::function<void()> quit_;
};

} // namespace velto
