#include "VeltoCore/Session/SessionWaits.h"

#include "VeltoCore/Async/WakingSleep.h"

#include <chrono>
#include <utility>

namespace velto {

namespace {

constexpr Duration patience = std::chrono::seconds(5);

} // namespace

SessionWaits::SessionWaits(SystemAudioManager& systemAudio, AudioDeviceManager& deviceManager,
                           MainActor& actor, Outcomes outcomes)
    : systemAudio_(systemAudio), deviceManager_(deviceManager), actor_(actor), outcomes_(std::move(outcomes)),
      tasks_(actor) {}

void SessionWaits::end() {
    end(switch_);
    end(loss_);
}

void SessionWaits::end(Wait& wait) {
    if (wait) wait->cancel();
    wait.reset();
}

Task<SleepResult> SessionWaits::wait(CancellationToken token) {
    return wakingSleep(actor_, patience, std::move(token), [this] { return systemAudio_.isAnswering(); });
}

bool SessionWaits::isFor(const DualOutputSession& session) const {
    return systemAudio_.activeSession() == session && !systemAudio_.isOperationRunning() &&
           systemAudio_.isAnswering();
}

// A switch that does not show

void SessionWaits::watchSwitch() {
    if (!systemAudio_.isSwitchPending()) {
        end(switch_);
    } else if (!switch_ && systemAudio_.isAnswering()) {
        switch_.emplace();
        tasks_.spawn(confirmSwitch(*systemAudio_.activeSession(), switch_->token()));
    }
}

Task<void> SessionWaits::confirmSwitch(DualOutputSession session, CancellationToken token) {
    const Outcome* outcome = nullptr;
    for (const bool isLast : {false, true}) {
        if (co_await wait(token) == SleepResult::cancelled) {
            if (token.isCancelled()) co_return; // another one may be under way
            break;
        }
        if (!isFor(session)) break;
        deviceManager_.refresh();
        if (!systemAudio_.isSwitchPending()) break;
        if (isLast) {
            outcome = &outcomes_.switchFailed;
        } else if (!systemAudio_.reassertDefaultOutput()) {
            outcome = &outcomes_.aggregateGone;
            break;
        }
    }
    switch_.reset();
    if (outcome) co_await (*outcome)(std::move(session));
}

// All outputs lost

/// Where sound can't go elsewhere, or nobody can say what is there, the session waits.
bool SessionWaits::isLost() const {
    return systemAudio_.isSessionSilenced() && systemAudio_.isAnswering() &&
           !deviceManager_.selectableDevices().empty();
}

void SessionWaits::watchForLoss() {
    if (!isLost()) {
        end(loss_);
    } else if (!loss_) {
        loss_.emplace();
        tasks_.spawn(confirmLoss(*systemAudio_.activeSession(), loss_->token()));
    }
}

Task<void> SessionWaits::confirmLoss(DualOutputSession session, CancellationToken token) {
    const SleepResult result = co_await wait(token);
    if (token.isCancelled()) co_return; // another one may be under way
    loss_.reset();
    if (result == SleepResult::elapsed && isFor(session) && isLost())
        co_await outcomes_.outputsLost(std::move(session));
}

} // namespace velto
