#include "VeltoCore/Sync/SyncTestPlayer.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Sync/ClickGenerator.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::sync;

Duration seconds(double count) noexcept {
    constexpr double longest = 1e9; // thirty years fit a Duration
    const double sane = count > 0 ? std::min(count, longest) : 0;
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(sane));
}

} // namespace

SyncTestPlayer::SyncTestPlayer(MainActor& actor, AudioEngine& engine)
    : actor_(actor), engine_(engine), tasks_(actor) {}

SyncTestPlayer::~SyncTestPlayer() { engine_.stop(); }

void SyncTestPlayer::start(float volume, double duration, double interval) {
    stop();
    double sampleRate = 0;
    try {
        sampleRate = engine_.outputSampleRate();
        auto generator = std::make_shared<ClickGenerator>(sampleRate, interval, volume);
        engine_.start(sampleRate,
                      [generator = std::move(generator)](std::uint32_t frameCount, auto bufferList) {
                          return generator->render(frameCount, bufferList);
                      });
    } catch (...) {
        logger.error("Sync test failed to start: {}", currentErrorDescription());
        return;
    }
    logger.info("Sync test started at {} Hz", sampleRate);
    pendingStop_.emplace();
    tasks_.spawn(stopAfter(seconds(duration), pendingStop_->token()));
    isPlaying_.set(true); // last: an observer may stop it
}

void SyncTestPlayer::stop() {
    if (auto pending = std::exchange(pendingStop_, std::nullopt)) pending->cancel();
    engine_.stop();
    if (!isPlaying()) return;
    logger.info("Sync test stopped");
    isPlaying_.set(false);
}

Task<void> SyncTestPlayer::stopAfter(Duration interval, CancellationToken token) {
    const SleepResult result = co_await actor_.sleep(interval, token);
    if (result == SleepResult::elapsed) stop();
}

} // namespace velto
