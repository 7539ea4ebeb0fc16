#include "VeltoCore/Sync/AlignmentRun.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::sync;

constexpr Duration lookInterval = std::chrono::milliseconds(50);
/// After what should have been heard; what takes longer does not come.
constexpr Duration patience = std::chrono::milliseconds(1500);
/// From the order to the sweeps, with what it takes to start.
constexpr double leadSeconds = 0.5;
/// By how much an output may sound later than it is played to, with the reverberation that helps to tell.
constexpr double latestSeconds = 0.75;
/// In milliseconds, of what the second measurement may leave.
constexpr double mostRest = 0.3;

AlignmentFailure failureOf(AlignmentRefusal refusal) {
    switch (refusal) {
    case AlignmentRefusal::tooQuiet:
        return AlignmentFailure::tooQuiet;
    case AlignmentRefusal::clipped:
        return AlignmentFailure::clipped;
    case AlignmentRefusal::tooNoisy:
        return AlignmentFailure::tooNoisy;
    case AlignmentRefusal::risingNotHeard:
        return AlignmentFailure::firstNotHeard;
    case AlignmentRefusal::fallingNotHeard:
        return AlignmentFailure::secondNotHeard;
    case AlignmentRefusal::interrupted:
    case AlignmentRefusal::unclear:
        return AlignmentFailure::unclear;
    case AlignmentRefusal::implausible:
        break;
    }
    return AlignmentFailure::disagreement;
}

double delayOf(const OutputDelays& delays, const std::string& uid) {
    const auto found = delays.find(uid);
    return found == delays.end() ? 0 : found->second;
}

/// By how much the second is delayed more than the first.
double difference(const OutputDelays& delays, const AlignedOutputs& outputs) {
    return delayOf(delays, outputs[1].uid) - delayOf(delays, outputs[0].uid);
}

SyncProfile profileOf(const AlignedOutputs& outputs, OutputDelays delays) {
    return {
        {outputs[0].uid, outputs[1].uid}, outputs[0].uid, std::move(delays), SyncProfile::Kind::measured, {}};
}

} // namespace

AlignmentRun::AlignmentRun(MainActor& actor, CoreAudioClient& client, SyncEngine& engine,
                           Microphone& microphone, Request request,
                           std::function<void(const Progress&)> progress, CancellationToken token)
    : actor_(actor), client_(client), engine_(engine), microphone_(microphone), request_(std::move(request)),
      told_(std::move(progress)), token_(std::move(token)) {}

Task<AlignmentRun::Outcome<Alignment>> AlignmentRun::run() {
    if (const auto failure = open()) co_return std::unexpected(*failure);
    // A moment of it first: to be heard from the first sample on, by the input that was meant.
    if (const auto failure = co_await listen(0)) co_return std::unexpected(*failure);

    double longest = 0;
    for (const auto& entry : request_.delays)
        longest = std::max(longest, entry.second);
    const auto before = co_await measure(Step::measuring, longest);
    if (!before) co_return std::unexpected(before.error());

    const auto& [first, second] = request_.outputs;
    OutputDelays wanted = request_.delays;
    wanted[first.uid] += before->milliseconds();
    if (std::abs(difference(wanted, request_.outputs)) > longestOutputDelay)
        co_return std::unexpected(AlignmentFailure::tooLate);
    wanted = outputDelays(profileOf(request_.outputs, wanted));
    if (const auto failure = delay(wanted)) co_return std::unexpected(*failure);

    const auto after = co_await measure(Step::confirming, 0);
    if (!after) co_return std::unexpected(after.error());
    const double added = difference(wanted, request_.outputs) - difference(request_.delays, request_.outputs);
    const auto rest = remainder(*before, *after, added);
    logger.info("Measured: {:.3f} ms before, {:.3f} ms after", before->milliseconds(), after->milliseconds());
    if (!rest || std::abs(*rest) > mostRest) co_return std::unexpected(AlignmentFailure::disagreement);
    co_return Alignment{request_.outputs, *before, *after, std::move(wanted)};
}

std::optional<AlignmentFailure> AlignmentRun::open() {
    tell();
    try {
        probe_.sampleRate = client_.nominalSampleRate(request_.aggregate);
        probe_.peak = request_.peak;
        recording_ = microphone_.record(request_.inputUID, probe_.sampleRate);
        return std::nullopt;
    } catch (...) {
        logger.error("Nothing can be recorded: {}", currentErrorDescription());
        return AlignmentFailure::noInput;
    }
}

Task<AlignmentRun::Outcome<AlignmentMeasurement>> AlignmentRun::measure(Step step, double longestDelay) {
    progress_.step = step;
    tell();
    recording_->take();
    if (const auto failure = play()) co_return std::unexpected(*failure);
    const double seconds = leadSeconds + probe_.seconds + latestSeconds + longestDelay / 1000;
    if (const auto failure = co_await listen(seconds)) co_return std::unexpected(*failure);
    co_return co_await analyse(recording_->take());
}

Task<std::optional<AlignmentFailure>> AlignmentRun::listen(double seconds) {
    using Trouble = Microphone::Recording::Trouble;
    const auto wanted = static_cast<std::size_t>(seconds * probe_.sampleRate) + 1;
    const ContinuousInstant deadline =
        actor_.continuousNow() + patience +
        std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
    for (;;) {
        if (token_.isCancelled()) co_return AlignmentFailure::cancelled;
        progress_.input = recording_->input();
        progress_.level = recording_->level();
        tell();
        // An input that was not to be had in the first place is not lost.
        if (const auto trouble = recording_->trouble()) {
            const bool isLost = *trouble == Trouble::ended && progress_.step != Step::opening;
            co_return isLost            ? AlignmentFailure::inputLost
            : request_.inputUID.empty() ? AlignmentFailure::noInput
                                        : AlignmentFailure::anotherInput;
        }
        if (recording_->frames() >= wanted) co_return std::nullopt;
        if (actor_.continuousNow() > deadline)
            co_return progress_.step == Step::opening ? AlignmentFailure::noInput
                                                      : AlignmentFailure::inputLost;
        co_await actor_.sleep(lookInterval, token_);
    }
}

std::optional<AlignmentFailure> AlignmentRun::play() {
    if (token_.isCancelled()) return AlignmentFailure::cancelled; // by who was told of the step
    try {
        client_.playSweeps(request_.aggregate, request_.outputs[0].uid, request_.outputs[1].uid, probe_.peak);
        return std::nullopt;
    } catch (...) {
        logger.error("The sweeps can't be played: {}", currentErrorDescription());
        return AlignmentFailure::refused;
    }
}

std::optional<AlignmentFailure> AlignmentRun::delay(const OutputDelays& delays) {
    try {
        engine_.apply(profileOf(request_.outputs, delays));
        return std::nullopt;
    } catch (...) {
        logger.error("The outputs can't be delayed: {}", currentErrorDescription());
        return AlignmentFailure::refused;
    }
}

Task<AlignmentRun::Outcome<AlignmentMeasurement>> AlignmentRun::analyse(std::vector<float> recording) {
    const auto found = co_await actor_.runBlocking(
        [probe = probe_, recording = std::move(recording)] { return alignment(probe, recording); });
    if (token_.isCancelled()) co_return std::unexpected(AlignmentFailure::cancelled);
    if (!found) co_return std::unexpected(failureOf(found.error()));
    co_return *found;
}

void AlignmentRun::tell() { told_(progress_); }

} // namespace velto
