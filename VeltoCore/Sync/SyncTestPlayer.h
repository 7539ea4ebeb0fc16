// SyncTestPlayer: plays a repeating click on the default output, so that one hears whether all outputs are in
// step, and stops by itself.
//
// Owned by the root of the object graph; main actor only, but for the click that the audio thread renders. It
// never throws: a test that can't start is logged, and nothing plays.
#pragma once

#include "VeltoCore/Async/Cancellation.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Sync/AudioEngine.h"

#include <functional>
#include <optional>

namespace velto {

class SyncTestPlayer {
  public:
    /// Both must outlive the player. Nobody else uses the engine.
    SyncTestPlayer(MainActor& actor, AudioEngine& engine);
    SyncTestPlayer(const SyncTestPlayer&) = delete;
    SyncTestPlayer& operator=(const SyncTestPlayer&) = delete;
    /// Ends a running test without a word.
    ~SyncTestPlayer();

    bool isPlaying() const noexcept { return isPlaying_.value(); }
    Subscription observeIsPlaying(std::function<void()> handler) {
        return isPlaying_.observe(std::move(handler));
    }

    /// Plays a click of that volume, from 0 to 1, every `interval` seconds for `duration` seconds. A running
    /// test is ended first.
    void start(float volume, double duration, double interval);
    void stop();

  private:
    Task<void> stopAfter(Duration interval, CancellationToken token);

    MainActor& actor_;
    AudioEngine& engine_;
    Observable<bool> isPlaying_;
    /// Cancels the stop that is pending; none when none is.
    std::optional<CancellationSource> pendingStop_;
    TaskScope tasks_; // dies first: its tasks use the others
};

} // namespace velto
