#include "Velto/Shell/InStepViewModel.h"

#include "Velto/Shell/SyncTest.h"
#include "VeltoCore/Sync/LatencyEstimator.h"

#include <fmt/format.h>

#include <algorithm>

namespace velto {

namespace {

std::string delayText(double milliseconds) {
    return milliseconds > 0 ? fmt::format("{} ms later", milliseconds) : "at once";
}

} // namespace

InStepViewModel::InStepViewModel(DualOutputCoordinator& coordinator, AudioDeviceManager& deviceManager,
                                 PreferencesManager& preferences, SyncProfileManager& syncProfiles,
                                 SyncTestPlayer& syncTestPlayer, MainActor& actor)
    : changes_(actor), coordinator_(coordinator), deviceManager_(deviceManager), preferences_(preferences),
      syncTestPlayer_(syncTestPlayer) {
    changes_.keep(coordinator.observe([this] {
        sessionMayHaveEnded();
        changes_.announce();
    }));
    changes_.keep(syncProfiles.observeProfiles(changes_.handler()));
    changes_.keep(deviceManager.observeDevices(changes_.handler()));
}

std::vector<AudioOutputDevice> InStepViewModel::outputs() const {
    std::vector<AudioOutputDevice> outputs;
    const auto session = isAvailable() ? coordinator_.state().session() : std::nullopt;
    if (!session) return outputs;
    for (const AudioOutputDevice& device : session->devices())
        outputs.push_back(deviceManager_.device(device.uid).value_or(device));
    return outputs;
}

OutputDelays InStepViewModel::delays() const {
    OutputDelays delays;
    const auto profile = coordinator_.currentSyncProfile();
    const OutputDelays shown = profile ? shownDelays(*profile) : OutputDelays();
    for (const AudioOutputDevice& output : outputs()) {
        const auto found = shown.find(output.uid);
        delays.emplace(output.uid, found == shown.end() ? 0 : found->second);
    }
    return delays;
}

std::vector<InStepRow> InStepViewModel::rows() const {
    std::vector<InStepRow> rows;
    const OutputDelays all = delays();
    for (const AudioOutputDevice& output : outputs()) {
        const double delay = all.at(output.uid);
        rows.push_back({.uid = output.uid, .name = output.name, .delay = delay, .text = delayText(delay)});
    }
    return rows;
}

std::optional<double> InStepViewModel::delay(std::string_view ofUID) const {
    const OutputDelays all = delays();
    const auto found = all.find(std::string(ofUID));
    return found == all.end() ? std::nullopt : std::optional(found->second);
}

void InStepViewModel::setDelay(double milliseconds, const std::string& uid) {
    OutputDelays all = delays();
    if (!all.contains(uid)) return;
    all[uid] = std::clamp(milliseconds, 0.0, longestOutputDelay);
    setDelays(std::move(all), SyncProfile::Kind::manual);
}

void InStepViewModel::setDelays(OutputDelays delays, SyncProfile::Kind kind) {
    coordinator_.setSyncCorrections(std::move(delays), kind);
    // It ends by itself, and begins again with the next turn.
    if (clicksWhileAdjusting_ && !syncTestPlayer_.isPlaying()) startSyncTest(syncTestPlayer_, preferences_);
}

// The click while one turns

void InStepViewModel::setClicksWhileAdjusting(bool clicks) {
    if (!changes_.set(clicksWhileAdjusting_, clicks)) return;
    if (clicks) {
        startSyncTest(syncTestPlayer_, preferences_);
    } else {
        syncTestPlayer_.stop();
    }
}

void InStepViewModel::sessionMayHaveEnded() {
    if (!isAvailable() && !coordinator_.isReconnecting()) setClicksWhileAdjusting(false);
}

// What the outputs report

OutputDelays InStepViewModel::reportedDelays() const {
    double latest = 0;
    std::vector<LatencyEstimate> estimates;
    for (const AudioOutputDevice& output : outputs()) {
        const auto estimate = LatencyEstimator::estimate(output);
        if (!estimate) return {};
        latest = std::max(latest, estimate->milliseconds);
        estimates.push_back(*estimate);
    }
    OutputDelays delays;
    bool makesADifference = false;
    for (const LatencyEstimate& estimate : estimates) {
        const double delay = delays[estimate.uid] =
            std::min(latest - estimate.milliseconds, longestOutputDelay);
        makesADifference = makesADifference || delay >= outputDelayStep;
    }
    return makesADifference ? delays : OutputDelays();
}

std::string InStepViewModel::reportedLatencyText() const {
    if (!canUseReportedLatency()) return "Your outputs report no difference.";
    std::string reported;
    for (const AudioOutputDevice& output : outputs())
        reported += fmt::format("{}{} reports {:.0f} ms", reported.empty() ? "" : ", ", output.name,
                                LatencyEstimator::estimate(output)->milliseconds);
    return reported + ". A guess: what Bluetooth outputs report is often far off.";
}

void InStepViewModel::useReportedLatency() {
    OutputDelays delays = reportedDelays();
    if (!delays.empty()) setDelays(std::move(delays), SyncProfile::Kind::estimated);
}

} // namespace velto
