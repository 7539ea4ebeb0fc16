#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"

#include "Platform/Linux/PipeWire/PipeWireDeviceProperties.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace velto {

namespace {

/// The server resamples every output, so all of them can run at any rate it can.
constexpr SampleRateRange serverRates{8000, 192000};
/// How long the session manager may take to leave a removed default output. It takes about 2 ms.
constexpr std::chrono::milliseconds newDefaultGrace{200};
/// After this the news of a default output are taken for lost on the way.
constexpr std::chrono::milliseconds firstAskAgainDelay{200};
constexpr std::chrono::seconds longestAskAgainDelay{10};

[[noreturn]] void throwStatus(OSStatus status) { throw AudioManagerError::coreAudioError(status); }

} // namespace

// Life

PipeWireAudioClient::PipeWireAudioClient(MainActor& actor, FileDescriptorWatcher& watcher, std::string remote)
    : actor_(actor), connection_(actor, watcher, std::move(remote), *this),
      graph_([this] { graphChanged(); }), aggregates_(actor, connection_, graph_, [this] { publishLater(); }),
      outputs_(connection_, graph_), askAgainDelay_(firstAskAgainDelay) {
    connection_.connect();
    // The first answer brings what there is, the second what each of them says of itself.
    connection_.roundTrip();
    connection_.roundTrip();
    undoAbandonedChanges();
    hasLostServer_ = !connection_.isConnected();
    published_ = current();
    askAgainForDefault();
}

PipeWireAudioClient::~PipeWireAudioClient() {
    if (askAgain_) actor_.cancelTimer(*askAgain_);
    aggregates_.forget();
    graph_.detach();
    connection_.disconnect();
}

void PipeWireAudioClient::connectionMade(pw_core* core, pw_registry* registry) {
    graph_.attach(core, registry);
}

void PipeWireAudioClient::connectionLost() {
    aggregates_.forget();
    outputs_.forget();
    graph_.detach();
    driftCompensation_.clear();
    hasLostServer_ = true;
    publishLater();
}

void PipeWireAudioClient::undoAbandonedChanges() {
    // A run that ended between forcing a rate and creating its aggregate left nothing that recovery would
    // remove; nor does recovery know what the session manager had stored before it was killed.
    const bool hasAggregate = std::ranges::any_of(
        graph_.devices(), [](const PipeWireNode* node) { return PipeWireAggregates::isAggregate(*node); });
    if (hasAggregate) return;
    outputs_.restoreSampleRate();
    outputs_.forgetChoiceOf(std::string(AggregateDeviceManager::aggregateUID));
}

// Notification

void PipeWireAudioClient::graphChanged() {
    aggregates_.relink();
    outputs_.routeAlerts();
    publishLater();
}

void PipeWireAudioClient::publishLater() {
    if (std::exchange(isPublishing_, true)) return;
    actor_.post([this, alive = std::weak_ptr(alive_)] {
        if (alive.expired()) return;
        isPublishing_ = false;
        publish();
    });
}

void PipeWireAudioClient::publish() {
    PipeWireSnapshot next = current();
    std::set<ListenedProperty> changed = published_.differences(next);
    published_ = std::move(next);
    // A server that came back has its devices, and a session manager that has chosen among them.
    if (hasLostServer_ && connection_.isConnected() && outputs_.defaultOutput()) {
        hasLostServer_ = false;
        changed.emplace(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted);
    }
    askAgainForDefault();
    if (!changed.empty()) listeners_.notify(changed);
}

void PipeWireAudioClient::askAgainForDefault() {
    const bool isMissing = graph_.defaultMetadata() && !outputs_.defaultOutput() &&
                           std::ranges::any_of(graph_.devices(), &PipeWireNode::isSink);
    if (!isMissing) {
        if (askAgain_) actor_.cancelTimer(*std::exchange(askAgain_, std::nullopt));
        askAgainDelay_ = firstAskAgainDelay;
    } else if (!askAgain_) {
        askAgain_ = actor_.postAfter(askAgainDelay_, [this] {
            askAgain_.reset();
            askAgainDelay_ = std::min<Duration>(askAgainDelay_ * 2, longestAskAgainDelay);
            graph_.refreshDefaultMetadata();
            publishLater();
        });
    }
}

PipeWireSnapshot PipeWireAudioClient::current() const {
    return PipeWireSnapshot::of(graph_, aggregates_, outputs_);
}

PropertyListenerTokenRef PipeWireAudioClient::addOutputVolumeListener(AudioObjectID device,
                                                                      PropertyListenerHandler handler) {
    if (!supportsOutputVolume(device)) return nullptr;
    return addPropertyListener(device, kAudioHardwareServiceDeviceProperty_VirtualMainVolume,
                               kAudioObjectPropertyScopeOutput, std::move(handler));
}

PropertyListenerTokenRef PipeWireAudioClient::addOutputMuteListener(AudioObjectID device,
                                                                    PropertyListenerHandler handler) {
    if (!supportsOutputMute(device)) return nullptr;
    return addPropertyListener(device, kAudioDevicePropertyMute, kAudioObjectPropertyScopeOutput,
                               std::move(handler));
}

PropertyListenerTokenRef PipeWireAudioClient::addPropertyListener(AudioObjectID objectID,
                                                                  AudioObjectPropertySelector selector,
                                                                  AudioObjectPropertyScope scope,
                                                                  AudioObjectPropertyElement element,
                                                                  PropertyListenerHandler handler) {
    if (objectID != kAudioObjectSystemObject && !visible(objectID)) throwStatus(kAudioHardwareBadObjectError);
    return listeners_.add(objectID, {selector, scope, element}, std::move(handler));
}

void PipeWireAudioClient::removePropertyListener(const PropertyListenerTokenRef& token) noexcept {
    if (!token || listeners_.remove(*token)) return;
    LoggingService::audioDevices.error("RemovePropertyListenerBlock failed: {}",
                                       "The listener is not registered");
}

// Devices

PipeWireNode* PipeWireAudioClient::visible(AudioObjectID device) const noexcept {
    PipeWireNode* node = graph_.device(device);
    return node && !aggregates_.isJoining(*node) ? node : nullptr;
}

PipeWireNode& PipeWireAudioClient::require(AudioObjectID device) const {
    PipeWireNode* node = visible(device);
    if (!node) throwStatus(kAudioHardwareBadDeviceError);
    return *node;
}

PipeWireNode& PipeWireAudioClient::requireSink(AudioObjectID device) const {
    PipeWireNode& node = require(device);
    if (!node.isSink()) throwStatus(kAudioHardwareBadDeviceError);
    return node;
}

std::vector<AudioObjectID> PipeWireAudioClient::allDeviceIDs() {
    std::vector<AudioObjectID> result;
    for (const PipeWireNode* node : graph_.devices())
        if (!aggregates_.isJoining(*node)) result.push_back(node->objectID());
    return result;
}

std::optional<AudioObjectID> PipeWireAudioClient::deviceID(std::string_view forUID) {
    const PipeWireNode* node = graph_.device(forUID);
    return node && !aggregates_.isJoining(*node) ? std::optional(node->objectID()) : std::nullopt;
}

std::string PipeWireAudioClient::deviceUID(AudioObjectID device) { return require(device).name(); }

std::string PipeWireAudioClient::deviceName(AudioObjectID device) {
    return std::string(require(device).displayName());
}

std::uint32_t PipeWireAudioClient::transportType(AudioObjectID device) {
    return PipeWireDeviceProperties::transportType(graph_, require(device));
}

std::optional<std::string> PipeWireAudioClient::deviceManufacturer(AudioObjectID device) noexcept {
    const PipeWireNode* node = visible(device);
    return node ? PipeWireDeviceProperties::manufacturer(graph_, *node) : std::nullopt;
}

std::optional<std::int64_t> PipeWireAudioClient::outputLatencyFrames(AudioObjectID device) noexcept {
    const PipeWireNode* node = visible(device);
    if (!node || !node->isSink() || !graph_.settingsMetadata()) return std::nullopt;
    return PipeWireDeviceProperties::latencyFrames(graph_, *node, outputs_.sampleRate(), outputs_.quantum());
}

std::optional<std::int64_t> PipeWireAudioClient::outputSafetyOffsetFrames(AudioObjectID) noexcept {
    return std::nullopt; // the server knows no such thing
}

std::int64_t PipeWireAudioClient::outputChannelCount(AudioObjectID device) {
    return PipeWireDeviceProperties::outputChannelCount(graph_, require(device));
}

bool PipeWireAudioClient::isAlive(AudioObjectID device) noexcept {
    const PipeWireNode* node = visible(device);
    return node && !node->hasFailed();
}

bool PipeWireAudioClient::isHidden(AudioObjectID) noexcept {
    return false; // the aggregate is one public node: there are no helper nodes to hide
}

bool PipeWireAudioClient::isRunningSomewhere(AudioObjectID device) noexcept {
    const PipeWireNode* node = visible(device);
    return node && node->isRunning();
}

double PipeWireAudioClient::nominalSampleRate(AudioObjectID device) {
    require(device);
    return outputs_.sampleRate();
}

std::vector<SampleRateRange> PipeWireAudioClient::availableSampleRates(AudioObjectID device) {
    require(device);
    return {serverRates};
}

void PipeWireAudioClient::setNominalSampleRate(AudioObjectID device, double sampleRate) {
    require(device);
    const bool isWhole = std::isfinite(sampleRate) && std::floor(sampleRate) == sampleRate;
    if (!isWhole || !serverRates.contains(sampleRate)) throwStatus(kAudioDeviceUnsupportedFormatError);
    outputs_.setSampleRate(sampleRate);
}

// The system's outputs

AudioObjectID PipeWireAudioClient::defaultOutputDeviceID() {
    const PipeWireNode* node = outputs_.defaultOutput();
    return node ? node->objectID() : kAudioObjectUnknown;
}

void PipeWireAudioClient::setDefaultOutputDevice(AudioObjectID device) {
    outputs_.setDefaultOutput(requireSink(device));
}

AudioObjectID PipeWireAudioClient::defaultSystemOutputDeviceID() {
    const PipeWireNode* node = outputs_.alertOutput();
    return node ? node->objectID() : kAudioObjectUnknown;
}

void PipeWireAudioClient::setDefaultSystemOutputDevice(AudioObjectID device) {
    outputs_.setAlertOutput(requireSink(device));
}

// Aggregates

AudioObjectID PipeWireAudioClient::createAggregateDevice(const AggregateDeviceDescription& description) {
    if (!connection_.isConnected()) throwStatus(kAudioHardwareNotRunningError);
    try {
        if (!graph_.device(description.uid)) outputs_.prepareForAggregate(description.uid);
        const AudioObjectID created = aggregates_.create(description);
        for (const auto& subDevice : description.subDevices)
            driftCompensation_.insert_or_assign(subDevice.uid, subDevice.driftCompensation);
        return created;
    } catch (const AudioManagerError&) {
        undoAbandonedChanges();
        throw;
    }
}

void PipeWireAudioClient::destroyAggregateDevice(AudioObjectID device) {
    const PipeWireNode* node = visible(device);
    if (!node || !PipeWireAggregates::isAggregate(*node)) throwStatus(kAudioHardwareBadObjectError);
    const std::string name = node->name(); // the node goes
    aggregates_.destroy(*node);
    connection_.waitUntil([&] { return outputs_.defaultOutput() != nullptr; }, newDefaultGrace);
    outputs_.restoreAfterAggregate(name);
    driftCompensation_.clear();
}

AggregateDeviceDescription PipeWireAudioClient::requireAggregate(AudioObjectID device) const {
    auto description = PipeWireAggregates::description(require(device));
    if (!description) throwStatus(kAudioHardwareUnknownPropertyError);
    for (auto& subDevice : description->subDevices) {
        const auto changed = driftCompensation_.find(subDevice.uid);
        if (changed != driftCompensation_.end()) subDevice.driftCompensation = changed->second;
    }
    return *std::move(description);
}

CompositionDictionary PipeWireAudioClient::aggregateComposition(AudioObjectID device) {
    return requireAggregate(device).dictionaryRepresentation();
}

std::vector<std::string> PipeWireAudioClient::aggregateFullSubDeviceUIDs(AudioObjectID device) {
    std::vector<std::string> result;
    for (auto& subDevice : requireAggregate(device).subDevices)
        result.push_back(std::move(subDevice.uid));
    return result;
}

std::vector<AudioObjectID> PipeWireAudioClient::aggregateActiveSubDeviceIDs(AudioObjectID device) {
    requireAggregate(device);
    std::vector<AudioObjectID> result;
    for (const PipeWireNode* node : aggregates_.activeSubDevices(require(device)))
        result.push_back(node->objectID());
    return result;
}

std::string PipeWireAudioClient::aggregateMainSubDeviceUID(AudioObjectID device) {
    return requireAggregate(device).mainSubDeviceUID;
}

bool PipeWireAudioClient::supportsSubDeviceDriftCompensation(AudioObjectID subDevice) noexcept {
    const PipeWireNode* node = visible(subDevice);
    return node && node->isSink(); // the server rate-matches every output that doesn't drive the graph
}

bool PipeWireAudioClient::subDeviceDriftCompensation(AudioObjectID subDevice) {
    const std::string& uid = requireSink(subDevice).name();
    if (const auto set = driftCompensation_.find(uid); set != driftCompensation_.end()) return set->second;
    for (const PipeWireNode* node : graph_.devices()) {
        const auto description = PipeWireAggregates::description(*node);
        if (!description) continue;
        for (const auto& member : description->subDevices)
            if (member.uid == uid) return member.driftCompensation;
    }
    return false;
}

void PipeWireAudioClient::setSubDeviceDriftCompensation(AudioObjectID subDevice, bool enabled) {
    driftCompensation_.insert_or_assign(requireSink(subDevice).name(), enabled);
}

// Volume and mute

bool PipeWireAudioClient::supportsOutputVolume(AudioObjectID device) noexcept {
    const PipeWireNode* node = visible(device);
    return node && PipeWireDeviceProperties::scalarVolume(*node).has_value();
}

float PipeWireAudioClient::outputVolume(AudioObjectID device) {
    const auto volume = PipeWireDeviceProperties::scalarVolume(require(device));
    if (!volume) throwStatus(kAudioHardwareUnsupportedOperationError);
    return *volume;
}

void PipeWireAudioClient::setOutputVolume(AudioObjectID device, float volume) {
    PipeWireNode& node = require(device);
    if (!PipeWireDeviceProperties::scalarVolume(node)) throwStatus(kAudioHardwareUnsupportedOperationError);
    const float clamped = volume > 0 ? std::min(volume, 1.0F) : 0.0F; // not a number counts as silence
    PipeWireDeviceProperties::setScalarVolume(graph_, node, clamped);
    connection_.roundTrip(); // so that a read right after gives the new volume
}

bool PipeWireAudioClient::supportsOutputMute(AudioObjectID device) noexcept {
    const PipeWireNode* node = visible(device);
    return node && node->isSink() && node->isMuted().has_value();
}

bool PipeWireAudioClient::outputMute(AudioObjectID device) {
    require(device);
    if (!supportsOutputMute(device)) throwStatus(kAudioHardwareUnsupportedOperationError);
    return visible(device)->isMuted().value_or(false);
}

void PipeWireAudioClient::setOutputMute(AudioObjectID device, bool isMuted) {
    PipeWireNode& node = require(device);
    if (!supportsOutputMute(device)) throwStatus(kAudioHardwareUnsupportedOperationError);
    PipeWireDeviceProperties::setMute(graph_, node, isMuted);
    connection_.roundTrip();
}

} // namespace velto
