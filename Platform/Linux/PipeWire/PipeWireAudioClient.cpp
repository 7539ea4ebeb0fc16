#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"

#include "Platform/Linux/PipeWire/PipeWireDeviceProperties.h"
#include "Platform/Linux/PipeWire/PipeWireFailure.h"
#include "VeltoCore/CoreAudio/ClampedVolume.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/Services/LoggingService.h"

#include <cmath>
#include <utility>

namespace velto {

namespace {

/// The server resamples every output, so all of them can run at any rate it can.
constexpr SampleRateRange serverRates{8000, 192000};

[[noreturn]] void fail(OSStatus status, const char* operation, AudioObjectID device) {
    failPipeWireCall(status, operation + (" " + std::to_string(device)));
}

} // namespace

// Life

PipeWireAudioClient::PipeWireAudioClient(MainActor& actor, FileDescriptorWatcher& watcher,
                                         const std::string& remote)
    : connection_(actor, watcher, remote, *this),
      graph_([this] { graphChanged(); }, [this] { connection_.watchAnswers(); }),
      aggregates_(actor, watcher, connection_, graph_, remote,
                  {.joined = [this] { news_.tellLater(); },
                   .delaysLost = [this](const std::string& aggregate) { delaysLost(aggregate); }}),
      outputs_(actor, connection_, graph_, aggregates_, [this] { news_.tellLater(); }),
      aggregateLifetime_(connection_, graph_, aggregates_, outputs_),
      volumeWrites_(actor, connection_, graph_,
                    [this](PipeWireVolumeWrites::Control control) {
                        const bool isVolume = control.kind == PipeWireVolumeWrites::Kind::volume;
                        news_.listeners().notify(
                            {{control.device, isVolume ? kAudioHardwareServiceDeviceProperty_VirtualMainVolume
                                                       : kAudioDevicePropertyMute}});
                    }),
      news_(actor, connection_, graph_, aggregates_, outputs_) {
    connection_.connect();
    connection_.waitUntil([this] { return graph_.isComplete(); });
    aggregateLifetime_.awaitRestored();
    news_.begin();
}

PipeWireAudioClient::~PipeWireAudioClient() {
    if (!connection_.isSilent()) settle(); // what was sent last is not to go with the program
    aggregates_.forget();
    outputs_.forget();
    volumeWrites_.forget();
    graph_.detach();
    connection_.disconnect();
}

void PipeWireAudioClient::connectionMade(pw_core* core, pw_registry* registry) {
    graph_.attach(core, registry);
}

void PipeWireAudioClient::connectionLost() {
    aggregates_.forget();
    outputs_.forget();
    volumeWrites_.forget();
    graph_.detach();
    aggregateLifetime_.forget();
    news_.noteSilence();
    lossObservers_.notify();
}

void PipeWireAudioClient::connectionAnswers() {
    news_.noteSilence();
    aggregateLifetime_.lookAnew(); // what was asked meanwhile, and given up, has been done by now
    if (graph_.isComplete()) aggregateLifetime_.follow(); // else one that is there has only not been heard of
    news_.tellLater();
}

// What changes

void PipeWireAudioClient::graphChanged() {
    if (!graph_.isComplete()) return; // what is not known yet is not missing
    aggregates_.relink();
    aggregateLifetime_.follow();
    outputs_.follow();
    volumeWrites_.follow();
    news_.tellLater();
}

// Listeners

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
    if (objectID != kAudioObjectSystemObject && !visible(objectID))
        failPipeWireCall(hasHeard() ? kAudioHardwareBadObjectError : kAudioHardwareNotRunningError,
                         "AddPropertyListener " + fourCharCodeDescription(selector) + " on " +
                             std::to_string(objectID));
    return news_.listeners().add(objectID, {selector, scope, element}, std::move(handler));
}

void PipeWireAudioClient::removePropertyListener(const PropertyListenerTokenRef& token) noexcept {
    if (!token || news_.listeners().remove(*token)) return;
    LoggingService::audioDevices.error("RemovePropertyListenerBlock failed: {}",
                                       "The listener is not registered");
}

// Devices

PipeWireNode* PipeWireAudioClient::visible(AudioObjectID device) const noexcept {
    PipeWireNode* node = graph_.device(device);
    return node && !aggregates_.isJoining(*node) ? node : nullptr;
}

void PipeWireAudioClient::requireAnswer(const char* operation) const {
    if (!hasHeard()) failPipeWireCall(kAudioHardwareNotRunningError, operation);
}

void PipeWireAudioClient::requireSessionManager(const char* operation) const {
    if (!hasHeard() || !outputs_.hasSessionManager())
        failPipeWireCall(kAudioHardwareNotRunningError, operation);
}

PipeWireNode& PipeWireAudioClient::require(AudioObjectID device, const char* operation) const {
    requireAnswer(operation);
    PipeWireNode* node = visible(device);
    if (!node) fail(kAudioHardwareBadDeviceError, operation, device);
    return *node;
}

PipeWireNode& PipeWireAudioClient::requireSink(AudioObjectID device, const char* operation) const {
    PipeWireNode& node = require(device, operation);
    if (!node.isSink()) fail(kAudioHardwareBadDeviceError, operation, device);
    return node;
}

std::vector<AudioObjectID> PipeWireAudioClient::allDeviceIDs() {
    requireAnswer("AllDeviceIDs");
    std::vector<AudioObjectID> result;
    for (const PipeWireNode* node : graph_.devices())
        if (!aggregates_.isJoining(*node)) result.push_back(node->objectID());
    return result;
}

std::optional<AudioObjectID> PipeWireAudioClient::deviceID(std::string_view forUID) {
    requireAnswer("DeviceID");
    const PipeWireNode* node = PipeWireDeviceProperties::device(graph_, forUID);
    return node && !aggregates_.isJoining(*node) ? std::optional(node->objectID()) : std::nullopt;
}

std::string PipeWireAudioClient::deviceUID(AudioObjectID device) {
    return PipeWireDeviceProperties::uid(require(device, "DeviceUID"));
}

std::string PipeWireAudioClient::deviceName(AudioObjectID device) {
    return std::string(require(device, "DeviceName").displayName());
}

std::uint32_t PipeWireAudioClient::transportType(AudioObjectID device) {
    return PipeWireDeviceProperties::transportType(graph_, require(device, "TransportType"));
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
    return PipeWireDeviceProperties::outputChannelCount(graph_, require(device, "OutputChannelCount"));
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
    require(device, "NominalSampleRate");
    return outputs_.sampleRate();
}

std::vector<SampleRateRange> PipeWireAudioClient::availableSampleRates(AudioObjectID device) {
    require(device, "AvailableSampleRates");
    return {serverRates};
}

void PipeWireAudioClient::setNominalSampleRate(AudioObjectID device, double sampleRate) {
    require(device, "SetNominalSampleRate");
    const bool isWhole = std::isfinite(sampleRate) && std::floor(sampleRate) == sampleRate;
    if (!isWhole || !serverRates.contains(sampleRate))
        fail(kAudioDeviceUnsupportedFormatError, "SetNominalSampleRate", device);
    outputs_.setSampleRate(sampleRate);
}

// The system's outputs

AudioObjectID PipeWireAudioClient::defaultOutputDeviceID() {
    requireSessionManager("DefaultOutputDeviceID");
    const PipeWireNode* node = outputs_.defaultOutput();
    return node ? node->objectID() : kAudioObjectUnknown;
}

void PipeWireAudioClient::setDefaultOutputDevice(AudioObjectID device) {
    outputs_.setDefaultOutput(requireSink(device, "SetDefaultOutputDevice"));
}

AudioObjectID PipeWireAudioClient::defaultSystemOutputDeviceID() {
    requireSessionManager("DefaultSystemOutputDeviceID");
    const PipeWireNode* node = outputs_.alertOutput();
    return node ? node->objectID() : kAudioObjectUnknown;
}

void PipeWireAudioClient::setDefaultSystemOutputDevice(AudioObjectID device) {
    outputs_.setAlertOutput(requireSink(device, "SetDefaultSystemOutputDevice"));
}

// Aggregates

AudioObjectID PipeWireAudioClient::createAggregateDevice(const AggregateDeviceDescription& description) {
    requireAnswer("CreateAggregateDevice");
    return aggregateLifetime_.begin(description);
}

void PipeWireAudioClient::destroyAggregateDevice(AudioObjectID device) {
    requireAnswer("DestroyAggregateDevice");
    const PipeWireNode* node = visible(device);
    if (!node || !PipeWireAggregates::isAggregate(*node))
        fail(kAudioHardwareBadObjectError, "DestroyAggregateDevice", device);
    aggregateLifetime_.end(*node);
}

void PipeWireAudioClient::setOutputDelays(AudioObjectID aggregate, const OutputDelays& milliseconds) {
    const PipeWireNode& node = require(aggregate, "SetOutputDelays");
    if (!aggregates_.setDelays(node, milliseconds))
        fail(kAudioHardwareBadDeviceError, "SetOutputDelays", aggregate);
}

void PipeWireAudioClient::playSweeps(AudioObjectID aggregate, const std::string& rising,
                                     const std::string& falling, double peak) {
    if (!aggregates_.playSweeps(require(aggregate, "PlaySweeps"), rising, falling, peak))
        fail(kAudioHardwareBadDeviceError, "PlaySweeps", aggregate);
}

void PipeWireAudioClient::endSweeps(AudioObjectID) noexcept { aggregates_.endSweeps(); }

void PipeWireAudioClient::delaysLost(const std::string& aggregate) {
    if (const PipeWireNode* node = graph_.device(aggregate))
        news_.listeners().notify({{node->objectID(), kVeltoAggregatePropertyOutputDelaysLost}});
}

AggregateDeviceDescription PipeWireAudioClient::requireAggregate(AudioObjectID device,
                                                                 const char* operation) const {
    auto description = aggregateLifetime_.description(require(device, operation));
    if (!description) fail(kAudioHardwareUnknownPropertyError, operation, device);
    return *std::move(description);
}

CompositionDictionary PipeWireAudioClient::aggregateComposition(AudioObjectID device) {
    return requireAggregate(device, "AggregateComposition").dictionaryRepresentation();
}

std::vector<std::string> PipeWireAudioClient::aggregateFullSubDeviceUIDs(AudioObjectID device) {
    std::vector<std::string> result;
    for (auto& subDevice : requireAggregate(device, "AggregateFullSubDevices").subDevices)
        result.push_back(std::move(subDevice.uid));
    return result;
}

std::vector<AudioObjectID> PipeWireAudioClient::aggregateActiveSubDeviceIDs(AudioObjectID device) {
    requireAggregate(device, "AggregateActiveSubDevices");
    std::vector<AudioObjectID> result;
    for (const PipeWireNode* node : aggregates_.activeSubDevices(*visible(device)))
        result.push_back(node->objectID());
    return result;
}

std::string PipeWireAudioClient::aggregateMainSubDeviceUID(AudioObjectID device) {
    return requireAggregate(device, "AggregateMainSubDevice").mainSubDeviceUID;
}

bool PipeWireAudioClient::supportsSubDeviceDriftCompensation(AudioObjectID subDevice) noexcept {
    const PipeWireNode* node = visible(subDevice);
    return node && node->isSink(); // the server rate-matches every output that doesn't drive the graph
}

bool PipeWireAudioClient::subDeviceDriftCompensation(AudioObjectID subDevice) {
    return aggregateLifetime_.driftCompensation(requireSink(subDevice, "SubDeviceDriftCompensation").name());
}

void PipeWireAudioClient::setSubDeviceDriftCompensation(AudioObjectID subDevice, bool enabled) {
    aggregateLifetime_.setDriftCompensation(requireSink(subDevice, "SetSubDeviceDriftCompensation").name(),
                                            enabled);
}

// Volume and mute

bool PipeWireAudioClient::supportsOutputVolume(AudioObjectID device) noexcept {
    const PipeWireNode* node = visible(device);
    return node && PipeWireDeviceProperties::scalarVolume(*node).has_value();
}

float PipeWireAudioClient::outputVolume(AudioObjectID device) {
    const auto volume = PipeWireDeviceProperties::scalarVolume(require(device, "OutputVolume"));
    if (!volume) fail(kAudioHardwareUnsupportedOperationError, "OutputVolume", device);
    return volumeWrites_.asked({device, PipeWireVolumeWrites::Kind::volume}).value_or(*volume);
}

void PipeWireAudioClient::setOutputVolume(AudioObjectID device, float volume) {
    if (!PipeWireDeviceProperties::scalarVolume(require(device, "SetOutputVolume")))
        fail(kAudioHardwareUnsupportedOperationError, "SetOutputVolume", device);
    volumeWrites_.setVolume(device, clampedVolume(volume));
}

bool PipeWireAudioClient::supportsOutputMute(AudioObjectID device) noexcept {
    const PipeWireNode* node = visible(device);
    return node && node->isSink() && node->isMuted().has_value();
}

bool PipeWireAudioClient::outputMute(AudioObjectID device) {
    const PipeWireNode& node = require(device, "OutputMute");
    if (!supportsOutputMute(device)) fail(kAudioHardwareUnsupportedOperationError, "OutputMute", device);
    const auto asked = volumeWrites_.asked({device, PipeWireVolumeWrites::Kind::mute});
    return asked ? *asked != 0 : node.isMuted().value_or(false);
}

void PipeWireAudioClient::setOutputMute(AudioObjectID device, bool isMuted) {
    require(device, "SetOutputMute");
    if (!supportsOutputMute(device)) fail(kAudioHardwareUnsupportedOperationError, "SetOutputMute", device);
    volumeWrites_.setMute(device, isMuted);
}

} // namespace velto
