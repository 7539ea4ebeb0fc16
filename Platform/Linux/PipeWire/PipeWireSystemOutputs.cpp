#include "Platform/Linux/PipeWire/PipeWireSystemOutputs.h"

#include "Platform/Linux/PipeWire/PipeWireFailure.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <utility>

namespace velto {

namespace {

/// How long an update may take before it is taken for lost. It takes about 2 ms.
constexpr std::chrono::milliseconds lostUpdateGrace{100};
/// How long it may take to make the aggregate the default because of its priority, before it is told to.
constexpr std::chrono::milliseconds priorityGrace{200};
/// How long the session manager may take to make the aggregate the default again. It takes about 20 ms.
constexpr std::chrono::seconds reclaimingGrace{1};

/// After the first of these, what the store of defaults ought to have told is taken for lost on the way.
constexpr Backoff::Pauses missingPauses{.first = std::chrono::milliseconds(200),
                                        .longest = std::chrono::seconds(10)};

uint32_t wholeNumber(const std::optional<std::string>& text) {
    uint32_t number = 0;
    if (text) std::from_chars(text->data(), text->data() + text->size(), number);
    return number;
}

} // namespace

PipeWireSystemOutputs::PipeWireSystemOutputs(MainActor& actor, PipeWireConnection& connection,
                                             PipeWireGraph& graph, PipeWireAggregates& aggregates,
                                             std::function<void()> changed)
    : actor_(actor), connection_(connection), graph_(graph), aggregates_(aggregates), notes_(graph),
      changed_(std::move(changed)),
      missing_(actor, missingPauses, [this] { graph_.refreshDefaultMetadata(); }) {}

PipeWireSystemOutputs::~PipeWireSystemOutputs() { forget(); }

// What the stores say

void PipeWireSystemOutputs::fail(const char* label) const {
    const bool isAnswering = !connection_.isSilent() && graph_.defaultMetadata();
    failPipeWireCall(isAnswering ? kAudioHardwareNotReadyError : kAudioHardwareNotRunningError, label);
}

bool PipeWireSystemOutputs::hasSessionManager() const noexcept {
    const PipeWireMetadata* metadata = graph_.defaultMetadata();
    return metadata && metadata->isComplete();
}

PipeWireMetadata& PipeWireSystemOutputs::defaultMetadata() const {
    if (!hasSessionManager()) failPipeWireCall(kAudioHardwareNotRunningError, "Asking the session manager");
    return *graph_.defaultMetadata();
}

std::optional<std::string> PipeWireSystemOutputs::defaultName() const {
    const PipeWireMetadata* metadata = graph_.defaultMetadata();
    return metadata ? metadata->name(PipeWireKey::defaultSink) : std::nullopt;
}

std::optional<std::string> PipeWireSystemOutputs::configuredName() const {
    const PipeWireMetadata* metadata = graph_.defaultMetadata();
    return metadata ? metadata->name(PipeWireKey::configuredSink) : std::nullopt;
}

bool PipeWireSystemOutputs::becomesTrue(const std::function<bool()>& condition, Duration deadline) {
    if (connection_.waitUntil(condition, lostUpdateGrace)) return true;
    graph_.refreshDefaultMetadata();
    if (!connection_.waitUntil(condition, deadline - lostUpdateGrace)) return false;
    deafStore_ = graph_.defaultMetadataGeneration();
    return true;
}

void PipeWireSystemOutputs::waitForDefaultMetadata(const std::function<bool()>& condition, const char* label,
                                                   Duration deadline) {
    if (!becomesTrue(condition, deadline)) fail(label);
}

// The default output

const PipeWireNode* PipeWireSystemOutputs::defaultOutput() const {
    const auto name = defaultName();
    const PipeWireNode* aggregate = aggregates_.existing();
    if (aggregate && reclaiming_) return aggregate;
    if (aggregate && standIn_ && name == aggregate->name())
        if (const PipeWireNode* standIn = graph_.device(*standIn_)) return standIn;
    return name ? graph_.device(*name) : nullptr;
}

void PipeWireSystemOutputs::setDefaultOutput(const PipeWireNode& output) {
    constexpr const char* label = "SetDefaultOutputDevice";
    if (connection_.isSilent()) fail(label);
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the node may go while we wait
    const std::string name = output.name();
    const AudioObjectID objectID = output.objectID();
    if (PipeWireAggregates::isAggregate(output)) return switchToAggregate(name);

    const PipeWireNode* aggregate = aggregates_.existing();
    letGo();
    standIn_.reset();
    if (aggregate && leaveAggregate(aggregate->name(), name)) {
        standIn_ = objectID;
        return;
    }
    defaultMetadata().setName(PipeWireKey::configuredSink, name);
    waitForDefaultMetadata([&] { return defaultName() == name && configuredName() == name; }, label);
}

void PipeWireSystemOutputs::switchToAggregate(const std::string& name) {
    constexpr const char* label = "SetDefaultOutputDevice to the aggregate";
    standIn_.reset();
    notes_.noteOutputs(name);
    const auto isEffective = [&] { return defaultName() == name; };
    // Where nobody has chosen, its priority does it.
    const bool isChosen = defaultMetadata().value(PipeWireKey::configuredSink).has_value();
    if (isChosen || !becomesTrue(isEffective, priorityGrace)) {
        if (connection_.isSilent()) fail(label);
        defaultMetadata().setName(PipeWireKey::configuredSink, name);
        waitForDefaultMetadata([&] { return isEffective() && configuredName() == name; }, label,
                               isChosen ? pipeWireDeadline : pipeWireDeadline - priorityGrace);
    }
    heldSince_ = graph_.defaultMetadataGeneration();
}

bool PipeWireSystemOutputs::leaveAggregate(const std::string& aggregateName, const std::string& outputName) {
    const auto configured = configuredName();
    const auto noted = notes_.configuredOutput();
    if (!noted || *noted == outputName) return false;            // it was chosen before, and is again
    if (configured == noted) return true;                        // that is so already
    if (configured && configured != aggregateName) return false; // somebody else has chosen
    if (configured && noted->empty()) {
        defaultMetadata().remove(PipeWireKey::configuredSink);
    } else if (configured) {
        defaultMetadata().setName(PipeWireKey::configuredSink, *noted);
    }
    return true;
}

/// A default that changed although nobody has chosen another one.
void PipeWireSystemOutputs::holdDefault() {
    const PipeWireNode* aggregate = heldSince_ ? aggregates_.existing() : nullptr;
    PipeWireMetadata* metadata = graph_.defaultMetadata();
    if (!aggregate) heldSince_.reset();
    if (!aggregate || !metadata || !metadata->isComplete() || !defaultName()) return;
    const auto configured = configuredName();
    const int generation = graph_.defaultMetadataGeneration();
    const bool isStoredChoice = generation != *heldSince_ && configured == notes_.configuredOutput();
    if (configured && configured != aggregate->name() && !isStoredChoice) {
        heldSince_.reset(); // somebody has chosen
        return stopReclaiming();
    }
    if (defaultName() == aggregate->name()) {
        heldSince_ = generation;
        return stopReclaiming();
    }
    if (reclaiming_) return;
    // A session manager that starts chooses among the outputs that it knows already. Where nobody has chosen,
    // the aggregate's priority does the rest, without a choice that would be remembered.
    if (configured) return reclaimDefault();
    reclaiming_ = actor_.postAfter(reclaimingGrace, [this] {
        reclaiming_.reset();
        reclaimDefault();
    });
}

void PipeWireSystemOutputs::reclaimDefault() {
    const PipeWireNode* aggregate = aggregates_.existing();
    PipeWireMetadata* metadata = graph_.defaultMetadata();
    if (!aggregate || !metadata || !metadata->isComplete()) return; // again when it is
    LoggingService::audioDevices.notice(
        "The session manager left the aggregate; making it the default again");
    if (configuredName() != aggregate->name())
        metadata->setName(PipeWireKey::configuredSink, aggregate->name());
    reclaiming_ = actor_.postAfter(reclaimingGrace, [this] {
        reclaiming_.reset();
        heldSince_.reset(); // in vain
        changed_();
    });
}

void PipeWireSystemOutputs::stopReclaiming() {
    if (reclaiming_) actor_.cancelTimer(*std::exchange(reclaiming_, std::nullopt));
}

// Before and after an aggregate

void PipeWireSystemOutputs::prepareForAggregate(const std::string& aggregateName) {
    constexpr const char* label = "Preparing for an aggregate";
    if (!connection_.roundTrip()) fail(label); // also, what was stored a moment ago counts
    defaultMetadata();                         // without a session manager nobody would give it its ports
    // Before that, what it is about to bring back would be noted as nobody's choice.
    connection_.waitUntil([this] { return isSettled(); });
    finishRestoring(pipeWireDeadline);
    if (connection_.isSilent() || notes_.isRestoring()) fail(label); // else it would go on in the session
    notes_.noteOutputs(aggregateName);
}

void PipeWireSystemOutputs::letGo() {
    heldSince_.reset();
    stopReclaiming();
}

void PipeWireSystemOutputs::restore(const std::string& aggregateName) {
    letGo();
    standIn_.reset();
    notes_.beginRestoring(aggregateName);
    notes_.continueRestoring(isSettled());
}

void PipeWireSystemOutputs::finishRestoring(Duration deadline) {
    // One that has just come and knows of no output tells nothing before there is one.
    const auto isDone = [this] { return !notes_.isRestoring() || (!isSettled() && !defaultName()); };
    becomesTrue(isDone, deadline);
}

/// A session manager that starts writes what it had stored, and then the default output. Many begin to watch
/// its store in that moment, so some of it may not have been told: it is asked for, once. A choice of an
/// aggregate that is gone is taken back then; a later one is that of somebody who knows of a sink of that
/// name.
void PipeWireSystemOutputs::settle() {
    const int generation = graph_.defaultMetadataGeneration();
    if (settling_ == generation || !defaultName()) return;
    settling_ = generation;
    graph_.refreshDefaultMetadata([this, generation] {
        settled_ = generation;
        const std::string name(AggregateDeviceManager::aggregateUID);
        if (!aggregates_.existing() && !notes_.isRestoring() && notes_.isChosenWithoutNote(name))
            restore(name);
        notes_.continueRestoring(isSettled());
    });
}

bool PipeWireSystemOutputs::isSettled() const noexcept {
    return graph_.defaultMetadata() && settled_ == graph_.defaultMetadataGeneration();
}

/// A store that has let us miss a change may go on doing so, for good. What somebody chooses shows in where
/// players are linked, too.
void PipeWireSystemOutputs::listenHarder() {
    if (deafStore_ != graph_.defaultMetadataGeneration()) return;
    if (std::exchange(linkChanges_, graph_.linkChanges()) != graph_.linkChanges())
        graph_.refreshDefaultMetadata();
}

/// What the store ought to tell, and perhaps told while nobody heard it.
void PipeWireSystemOutputs::askForMissing() {
    const bool isWithoutDefault =
        !defaultOutput() && std::ranges::any_of(graph_.devices(), &PipeWireNode::isSink);
    const bool isMissing = graph_.defaultMetadata() && (isWithoutDefault || notes_.isRestoring());
    if (isMissing)
        missing_.askLater();
    else
        missing_.reset();
}

void PipeWireSystemOutputs::follow() {
    settle();
    listenHarder();
    notes_.continueRestoring(isSettled());
    holdDefault();
    routeAlerts();
    askForMissing();
}

void PipeWireSystemOutputs::forget() {
    missing_.reset();
    notes_.forget();
    standIn_.reset();
    heldSince_.reset();
    stopReclaiming();
    routedAlerts_.clear();
    deafStore_.reset();
}

// The alert output

const PipeWireNode* PipeWireSystemOutputs::alertOutput() const {
    const PipeWireMetadata* metadata = graph_.defaultMetadata();
    const auto name = metadata ? metadata->name(PipeWireKey::alertSink) : std::nullopt;
    const PipeWireNode* chosen = name ? graph_.device(*name) : nullptr;
    return chosen ? chosen : defaultOutput();
}

void PipeWireSystemOutputs::setAlertOutput(const PipeWireNode& output) {
    constexpr const char* label = "SetDefaultSystemOutputDevice";
    if (connection_.isSilent()) fail(label);
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
    waitForDefaultMetadata(isEffective, label);
    routeAlerts();
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

// The sample rate

double PipeWireSystemOutputs::sampleRate() const {
    const PipeWireMetadata* settings = graph_.settingsMetadata();
    if (!settings) failPipeWireCall(kAudioHardwareNotRunningError, "Asking for the sample rate");
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
    constexpr const char* label = "SetNominalSampleRate";
    if (connection_.isSilent()) fail(label);
    if (this->sampleRate() == sampleRate) return;
    finishRestoring(pipeWireDeadline); // else it would put back the rate that is set now
    notes_.noteSampleRate();
    graph_.settingsMetadata()->set(PipeWireKey::forcedRate, "", std::to_string(std::lround(sampleRate)));
    const auto isEffective = [&] { return graph_.settingsMetadata() && this->sampleRate() == sampleRate; };
    if (!connection_.waitUntil(isEffective)) fail(label);
}

} // namespace velto
