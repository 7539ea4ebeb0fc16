#include "Platform/Linux/PipeWire/PipeWireSystemOutputs.h"

#include "Platform/Linux/PipeWire/PipeWireAggregates.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "VeltoCore/CoreAudio/AudioManagerError.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <utility>

namespace velto {

namespace {

/// How long an update may take before it is taken for lost. It takes about 2 ms.
constexpr std::chrono::milliseconds lostUpdateGrace{100};

uint32_t wholeNumber(const std::optional<std::string>& text) {
    uint32_t number = 0;
    if (text) std::from_chars(text->data(), text->data() + text->size(), number);
    return number;
}

[[noreturn]] void throwNotReady() { throw AudioManagerError::coreAudioError(kAudioHardwareNotReadyError); }

} // namespace

PipeWireSystemOutputs::PipeWireSystemOutputs(PipeWireConnection& connection, PipeWireGraph& graph)
    : connection_(connection), graph_(graph) {}

PipeWireMetadata& PipeWireSystemOutputs::defaultMetadata() const {
    PipeWireMetadata* metadata = graph_.defaultMetadata();
    if (!metadata) throwNotReady(); // no session manager runs
    return *metadata;
}

const PipeWireNode* PipeWireSystemOutputs::defaultOutput() const {
    const PipeWireMetadata* metadata = graph_.defaultMetadata();
    const auto name = metadata ? metadata->name(PipeWireKey::defaultSink) : std::nullopt;
    return name ? graph_.device(*name) : nullptr;
}

void PipeWireSystemOutputs::setDefaultOutput(const PipeWireNode& output) {
    const std::string name = output.name(); // the node may go while we wait
    const bool isAggregate = PipeWireAggregates::isAggregate(output);
    if (isAggregate) rememberConfiguredOutput(name);
    defaultMetadata().setName(PipeWireKey::configuredSink, name);
    const auto isEffective = [&] {
        const PipeWireMetadata* metadata = graph_.defaultMetadata();
        return metadata && metadata->name(PipeWireKey::defaultSink) == name &&
               metadata->name(PipeWireKey::configuredSink) == name;
    };
    waitForDefaultMetadata(isEffective);
    restoredOutput_ = isAggregate ? std::nullopt : std::optional(name);
}

void PipeWireSystemOutputs::waitForDefaultMetadata(const std::function<bool()>& condition) {
    for (Duration waited{}; waited < pipeWireDeadline; waited += lostUpdateGrace) {
        if (connection_.waitUntil(condition, lostUpdateGrace)) return;
        if (!connection_.isConnected()) break;
        graph_.refreshDefaultMetadata();
    }
    throwNotReady();
}

void PipeWireSystemOutputs::rememberConfiguredOutput(const std::string& aggregateName) {
    PipeWireMetadata* settings = graph_.settingsMetadata();
    if (!settings || settings->value(PipeWireKey::previousConfiguredSink)) return;
    const auto configured = defaultMetadata().name(PipeWireKey::configuredSink);
    const bool isChoice = configured && configured != aggregateName;
    settings->set(PipeWireKey::previousConfiguredSink, "", isChoice ? *configured : "");
}

void PipeWireSystemOutputs::prepareForAggregate(const std::string& aggregateName) {
    if (!connection_.roundTrip()) throwNotReady();  // also, what was stored a moment ago counts
    if (!graph_.defaultMetadata()) throwNotReady(); // nobody would give the aggregate its ports
    forgetChoiceOf(aggregateName);
    PipeWireMetadata* settings = graph_.settingsMetadata();
    if (settings && settings->value(PipeWireKey::previousConfiguredSink))
        settings->remove(PipeWireKey::previousConfiguredSink);
}

void PipeWireSystemOutputs::forgetChoiceOf(const std::string& aggregateName) {
    PipeWireMetadata* metadata = graph_.defaultMetadata();
    if (!metadata || metadata->name(PipeWireKey::configuredSink) != aggregateName) return;
    metadata->remove(PipeWireKey::configuredSink);
    connection_.roundTrip();
}

const PipeWireNode* PipeWireSystemOutputs::alertOutput() const {
    const PipeWireMetadata* metadata = graph_.defaultMetadata();
    const auto name = metadata ? metadata->name(PipeWireKey::alertSink) : std::nullopt;
    const PipeWireNode* chosen = name ? graph_.device(*name) : nullptr;
    return chosen ? chosen : defaultOutput();
}

void PipeWireSystemOutputs::setAlertOutput(const PipeWireNode& output) {
    PipeWireMetadata& metadata = defaultMetadata();
    const AudioObjectID objectID = output.objectID();
    // Alerts follow the default output by themselves: nothing is left behind for that.
    if (&output == defaultOutput()) {
        if (metadata.value(PipeWireKey::alertSink)) metadata.remove(PipeWireKey::alertSink);
    } else {
        metadata.setName(PipeWireKey::alertSink, output.name());
    }
    const auto isEffective = [&] {
        const PipeWireNode* alert = alertOutput();
        return alert && alert->objectID() == objectID;
    };
    waitForDefaultMetadata(isEffective);
    routeAlerts();
}

double PipeWireSystemOutputs::sampleRate() const {
    const PipeWireMetadata* settings = graph_.settingsMetadata();
    if (!settings) throwNotReady();
    const uint32_t forced = wholeNumber(settings->value(PipeWireKey::forcedRate));
    return forced ? forced : wholeNumber(settings->value(PipeWireKey::rate));
}

std::int64_t PipeWireSystemOutputs::quantum() const noexcept {
    const PipeWireMetadata* settings = graph_.settingsMetadata();
    if (!settings) return 0;
    const uint32_t forced = wholeNumber(settings->value("clock.force-quantum"));
    return forced ? forced : wholeNumber(settings->value("clock.quantum"));
}

void PipeWireSystemOutputs::setSampleRate(double sampleRate) {
    PipeWireMetadata* settings = graph_.settingsMetadata();
    if (!settings) throwNotReady();
    if (this->sampleRate() == sampleRate) return;
    if (!settings->value(PipeWireKey::previousForcedRate))
        settings->set(PipeWireKey::previousForcedRate, "",
                      settings->value(PipeWireKey::forcedRate).value_or("0"));
    settings->set(PipeWireKey::forcedRate, "", std::to_string(std::lround(sampleRate)));
    const auto isEffective = [&] { return graph_.settingsMetadata() && this->sampleRate() == sampleRate; };
    if (!connection_.waitUntil(isEffective)) throwNotReady();
}

void PipeWireSystemOutputs::restoreAfterAggregate(const std::string& aggregateName) {
    restoreSampleRate();
    PipeWireMetadata* settings = graph_.settingsMetadata();
    const auto previous = settings ? settings->value(PipeWireKey::previousConfiguredSink) : std::nullopt;
    if (!previous) return;
    settings->remove(PipeWireKey::previousConfiguredSink);
    PipeWireMetadata* metadata = graph_.defaultMetadata();
    const auto configured = metadata ? metadata->name(PipeWireKey::configuredSink) : std::nullopt;
    // A choice that somebody else has made since then stays.
    const bool isOurs = configured && (configured == aggregateName || configured == restoredOutput_);
    if (isOurs && previous->empty()) {
        metadata->remove(PipeWireKey::configuredSink);
    } else if (isOurs && configured != *previous) {
        metadata->setName(PipeWireKey::configuredSink, *previous);
    }
    connection_.roundTrip(); // in any case: a program that ends now would take what was not sent with it
}

void PipeWireSystemOutputs::restoreSampleRate() {
    PipeWireMetadata* settings = graph_.settingsMetadata();
    const auto previous = settings ? settings->value(PipeWireKey::previousForcedRate) : std::nullopt;
    if (!previous) return;
    settings->set(PipeWireKey::forcedRate, "", *previous);
    settings->remove(PipeWireKey::previousForcedRate);
    connection_.roundTrip();
}

void PipeWireSystemOutputs::routeAlerts() {
    PipeWireMetadata* metadata = graph_.defaultMetadata();
    if (!metadata) return routedAlerts_.clear();
    const PipeWireNode* alert = alertOutput();
    const bool isElsewhere = alert && alert != defaultOutput();
    const std::string target =
        isElsewhere ? std::string(property(alert->properties(), PW_KEY_OBJECT_SERIAL).value_or("")) : "";
    std::erase_if(routedAlerts_,
                  [&](const auto& entry) { return !graph_.notificationStreams().contains(entry.first); });
    for (const auto& [stream, serial] : graph_.notificationStreams()) {
        const auto routed = routedAlerts_.find(stream);
        if (isElsewhere && (routed == routedAlerts_.end() || routed->second != target)) {
            metadata->set(PipeWireKey::streamTarget, "Spa:Id", target, stream);
            // The session manager stores the target last set for later streams of the kind, in this run and
            // the next: it is to store none.
            metadata->set(PipeWireKey::streamTargetNode, "Spa:Id", "-1", stream);
            routedAlerts_.insert_or_assign(stream, target);
        } else if (!isElsewhere && routed != routedAlerts_.end()) {
            metadata->remove(PipeWireKey::streamTarget, stream);
            metadata->remove(PipeWireKey::streamTargetNode, stream);
            routedAlerts_.erase(routed);
        }
    }
}

void PipeWireSystemOutputs::forget() {
    restoredOutput_.reset();
    routedAlerts_.clear();
}

} // namespace velto
