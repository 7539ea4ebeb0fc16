#include "VeltoCore/Session/SessionAlignment.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::sync;

AlignedOutputs outputsOf(const DualOutputSession& session) {
    return {AlignedOutput{session.first.uid, session.first.name},
            AlignedOutput{session.second.uid, session.second.name}};
}

} // namespace

struct SessionAlignment::Run {
    DualOutputSession session;
    std::optional<SyncProfile> profile;
    CancellationSource cancellation;
    std::optional<AlignmentRun> run;
    /// The profile is being changed by it.
    bool hasSucceeded = false;
};

SessionAlignment::SessionAlignment(MainActor& actor, CoreAudioClient& client,
                                   DualOutputCoordinator& coordinator, SyncProfileManager& profiles,
                                   PreferencesManager& preferences, std::unique_ptr<Microphone> microphone)
    : actor_(actor), client_(client), coordinator_(coordinator), preferences_(preferences),
      microphone_(std::move(microphone)), sessionSubscription_(coordinator.observe([this] { look(); })),
      profilesSubscription_(profiles.observeProfiles([this] { look(); })), tasks_(actor) {}

SessionAlignment::~SessionAlignment() = default;

std::vector<SessionAlignment::Input> SessionAlignment::inputs() const {
    std::vector<Input> result;
    try {
        for (const AudioObjectID device : client_.allDeviceIDs())
            if (client_.outputChannelCount(device) == 0 && client_.isAlive(device) &&
                !client_.isHidden(device))
                result.push_back({client_.deviceUID(device), client_.deviceName(device)});
    } catch (...) {
        logger.error("The inputs can't be listed: {}", currentErrorDescription());
    }
    return result;
}

std::optional<AlignmentFailure> SessionAlignment::obstacle(const std::string& inputUID) const {
    if (!isPossible()) return AlignmentFailure::notPossible;
    if (coordinator_.state().is<AudioSessionState::Degraded>()) return AlignmentFailure::outputLost;
    if (!coordinator_.state().is<AudioSessionState::Active>() || coordinator_.isReconnecting() ||
        coordinator_.isShuttingDown())
        return AlignmentFailure::noSession;
    const auto known = inputs();
    const bool isThere =
        inputUID.empty() ? !known.empty() : std::ranges::find(known, inputUID, &Input::uid) != known.end();
    return isThere ? std::nullopt : std::optional(AlignmentFailure::noInput);
}

void SessionAlignment::start(const std::string& inputUID) {
    if (run_) return;
    if (const auto failure = obstacle(inputUID)) return finish({sentence(*failure, {}, {}), failure, {}});
    auto run = std::make_shared<Run>();
    run->session = *coordinator_.state().session();
    run->profile = coordinator_.currentSyncProfile();
    AlignmentRun::Request request{.aggregate = run->session.aggregateDeviceID,
                                  .outputs = outputsOf(run->session),
                                  .delays = run->profile ? outputDelays(*run->profile) : OutputDelays(),
                                  .inputUID = inputUID,
                                  .peak = static_cast<double>(preferences_.syncTestVolume())};
    const auto show = [this](const AlignmentRun::Progress& progress) { state_.set({progress, {}}); };
    run->run.emplace(actor_, client_, coordinator_.syncEngine(), *microphone_, std::move(request), show,
                     run->cancellation.token());
    logger.info("Measuring the outputs");
    run_ = run;
    tasks_.spawn(perform(run));
    state_.set({AlignmentRun::Progress(), {}}); // last: an observer may cancel it
}

Task<void> SessionAlignment::perform(std::shared_ptr<Run> run) {
    if (run_ != run) co_return;
    const auto outcome = co_await run->run->run();
    if (run_ != run) co_return; // it has ended, and all is put back
    if (outcome) {
        succeed(*outcome);
    } else {
        end(outcome.error());
    }
}

/// What is measured must stay what it is.
void SessionAlignment::look() {
    if (!run_ || run_->hasSucceeded) return;
    const auto* active = coordinator_.state().as<AudioSessionState::Active>();
    if (coordinator_.state().is<AudioSessionState::Degraded>()) return end(AlignmentFailure::outputLost);
    if (!active || active->session != run_->session || coordinator_.currentSyncProfile() != run_->profile)
        end(AlignmentFailure::sessionChanged);
}

void SessionAlignment::end(AlignmentFailure failure) {
    if (!run_ || run_->hasSucceeded) return;
    const std::string input = run_->run->progress().input;
    finish({sentence(failure, outputsOf(run_->session), input), failure, {}});
}

void SessionAlignment::succeed(const Alignment& alignment) {
    run_->hasSucceeded = true;
    coordinator_.setSyncCorrections(alignment.delays, SyncProfile::Kind::measured);
    finish({sentence(alignment), {}, alignment});
}

void SessionAlignment::finish(End end) {
    logger.notice("Alignment: {}", publicText(end.sentence));
    if (const auto run = std::exchange(run_, nullptr)) {
        run->cancellation.cancel();
        coordinator_.applySyncProfile();
        client_.endSweeps(run->session.aggregateDeviceID);
    }
    state_.set({{}, std::move(end)});
}

} // namespace velto
