// SimulatedCalls: every call of the simulated client: what was called, what shall fail, what shall happen
// just then.
//
// Part of SimulatedAudioSystem, which asks it at the start of each call.
#pragma once

#include "Simulation/CoreAudioOperation.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class SimulatedCalls {
  public:
    struct Call {
        CoreAudioOperation operation;
        /// The object the call was about; the system object where it was about none.
        AudioObjectID object;
    };
    /// How a call fails. Operations that can't throw answer false or absence instead.
    struct Failure {
        OSStatus status = noErr;
        /// Not empty: an error of a foreign type with this text is thrown instead.
        std::string foreignError = {};
        /// The call does its work first and fails then.
        bool isAfterEffect = false;
    };

    // Looking

    /// Called just before each call.
    std::function<void(CoreAudioOperation)> beforeEach;

    /// All calls since the last clear(), in order.
    const std::vector<Call>& log() const noexcept { return log_; }
    std::size_t total() const noexcept { return log_.size(); }
    std::size_t count(CoreAudioOperation operation) const noexcept;
    void clear() { log_.clear(); }

    // Failures

    /// The next call of the operation fails, once. Several line up.
    void failNext(CoreAudioOperation operation, OSStatus status) { failNext(operation, {.status = status}); }
    void failNext(CoreAudioOperation operation, Failure failure);
    /// Every call of the operation fails until succeed().
    void failAlways(CoreAudioOperation operation, OSStatus status);
    void succeed(CoreAudioOperation operation) { always_.erase(operation); }
    /// The call so many calls from now fails, once, whatever it is; 0 is the next one.
    void failCall(std::size_t callsFromNow, OSStatus status);
    /// Something happens just before the call so many calls from now.
    void atCall(std::size_t callsFromNow, std::function<void()> event);

    /// What was asked for and did not come to pass, in words.
    std::vector<std::string> unconsumed() const;
    /// Drops all failures and events that are still to come.
    void forgetFailures();

    /// For the client: notes the call, lets happen what shall, and says how it shall fail.
    std::optional<Failure> begin(CoreAudioOperation operation, AudioObjectID object);
    /// Fails as a client does: logs, then throws.
    [[noreturn]] static void fail(CoreAudioOperation operation, OSStatus status);
    [[noreturn]] static void fail(CoreAudioOperation operation, const Failure& failure);

  private:
    struct Standing {
        OSStatus status;
        bool isConsumed = false;
    };

    std::vector<Call> log_;
    std::size_t begun_ = 0;
    std::map<CoreAudioOperation, std::vector<Failure>> next_;
    std::map<CoreAudioOperation, Standing> always_;
    std::map<std::size_t, OSStatus> atNumber_;
    std::map<std::size_t, std::function<void()>> events_;
};

} // namespace velto
