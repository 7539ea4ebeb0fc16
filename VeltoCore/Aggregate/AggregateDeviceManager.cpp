#include "VeltoCore/Aggregate/AggregateDeviceManager.h"

#include "VeltoCore/Aggregate/AudioClockCoordinator.h"
#include "VeltoCore/Aggregate/SampleRateResolver.h"
#include "VeltoCore/CoreAudio/Answer.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <chrono>
#include <utility>

namespace velto {

namespace {

using namespace std::chrono_literals;

constexpr const Logger& logger = LoggingService::aggregateDevice;

constexpr Duration alivePollInterval = 50ms;
constexpr int alivePolls = 20;
constexpr Duration gonePollInterval = 100ms;
constexpr int gonePolls = 30;

AggregateDeviceDescription describe(const std::vector<AudioOutputDevice>& devices, std::string name,
                                    const std::string& masterUID) {
    AggregateDeviceDescription description;
    description.uid = AggregateDeviceManager::aggregateUID;
    description.name = std::move(name);
    for (const AudioOutputDevice& device : devices)
        description.subDevices.push_back({device.uid, device.uid != masterUID});
    description.mainSubDeviceUID = masterUID;
    description.isStacked = true;
    description.isPrivate = false;
    return description;
}

std::optional<double> sharedSampleRate(const std::vector<AudioOutputDevice>& devices,
                                       std::optional<double> preferred) {
    std::vector<SampleRateRanges> all;
    all.reserve(devices.size());
    for (const AudioOutputDevice& device : devices)
        all.push_back(device.availableSampleRates);
    return SampleRateResolver::resolve(all, preferred);
}

/// Null when there is no value of that type under the key.
template <class T>
const T* valueIn(const CompositionDictionary& dictionary, std::string_view key) {
    const auto found = dictionary.find(std::string(key));
    return found == dictionary.end() ? nullptr : found->second.as<T>();
}

/// The entries of a composition's sub-devices; empty unless they are a list of dictionaries.
std::vector<CompositionDictionary> subDeviceEntries(const CompositionDictionary& composition) {
    const auto* values = valueIn<CompositionArray>(composition, CompositionKey::subDevices);
    if (!values) return {};
    std::vector<CompositionDictionary> entries;
    for (const CompositionValue& value : *values) {
        const auto* entry = value.as<CompositionDictionary>();
        if (!entry) return {};
        entries.push_back(*entry);
    }
    return entries;
}

std::string uidOf(const CompositionDictionary& subDevice) {
    const auto* uid = valueIn<std::string>(subDevice, CompositionKey::uid);
    return uid ? *uid : std::string();
}

bool compensatesDrift(const CompositionDictionary& subDevice) {
    const auto found = subDevice.find(std::string(CompositionKey::driftCompensation));
    return found != subDevice.end() && found->second.isNonZeroNumber();
}

} // namespace

Task<AggregateDeviceInfo> AggregateDeviceManager::createAggregate(AudioOutputDevice first,
                                                                  AudioOutputDevice second, std::string name,
                                                                  std::optional<double> preferredSampleRate,
                                                                  ClockStrategy clockStrategy) {
    if (first.uid == second.uid) throw AudioManagerError::sameDeviceSelected();
    std::optional<AudioGroup> group;
    try {
        group.emplace(std::vector{std::move(first), std::move(second)});
    } catch (const AudioGroup::ValidationError&) {
        throw AudioManagerError::sameDeviceSelected();
    }
    co_return co_await createAggregate(std::move(*group), std::move(name), preferredSampleRate,
                                       clockStrategy);
}

Task<AggregateDeviceInfo> AggregateDeviceManager::createAggregate(AudioGroup group, std::string name,
                                                                  std::optional<double> preferredSampleRate,
                                                                  ClockStrategy clockStrategy) {
    const std::vector<AudioOutputDevice>& devices = group.devices();
    const DeviceIDs ids = presentDeviceIDs(devices);
    co_await destroyExistingAggregate();

    const auto rate = sharedSampleRate(devices, preferredSampleRate);
    if (!rate) throw incompatibleError(devices);
    for (const AudioOutputDevice& device : devices)
        applySampleRate(*rate, ids.at(device.uid), device.name);

    const auto master = AudioClockCoordinator::masterDevice(devices, clockStrategy);
    if (!master) throw AudioManagerError::noOutputDevices();
    logger.info("Creating aggregate {} with {}, master {}, {} Hz", publicText(aggregateUID),
                publicText(group.displayName()), publicText(master->name), *rate);
    const AudioObjectID deviceID = co_await createDevice(describe(devices, std::move(name), master->uid));
    co_await waitUntilAlive(deviceID);
    configureAfterCreation(deviceID, *rate, master->uid);
    co_return AggregateDeviceInfo{deviceID, std::string(aggregateUID), master->uid, *rate};
}

AggregateDeviceManager::DeviceIDs
AggregateDeviceManager::presentDeviceIDs(const std::vector<AudioOutputDevice>& devices) {
    DeviceIDs ids;
    for (const AudioOutputDevice& device : devices) {
        const auto id = client_.deviceID(device.uid);
        if (!id || !client_.isAlive(*id)) throw AudioManagerError::deviceNotFound(device.name);
        ids.emplace(device.uid, *id);
    }
    return ids;
}

void AggregateDeviceManager::applySampleRate(double rate, AudioObjectID to, const std::string& named) {
    try {
        const double current = client_.nominalSampleRate(to);
        if (current == rate) return;
        client_.setNominalSampleRate(to, rate);
        logger.info("Set {} sample rate {} -> {} Hz", publicText(named), current, rate);
    } catch (...) {
        logger.error("Could not set sample rate on {}: {}", publicText(named), currentErrorDescription());
    }
}

Task<AudioObjectID> AggregateDeviceManager::createDevice(AggregateDeviceDescription description) {
    auto created = actor_.runBlocking([&client = client_, description = std::move(description)] {
        return client.createAggregateDevice(description);
    });
    try {
        co_return co_await std::move(created);
    } catch (const AudioManagerError& error) {
        if (const auto status = error.status(); status && !error.isNoAnswer())
            throw AudioManagerError::aggregateCreationFailed(coreAudioDescription(*status));
        throw;
    }
}

Task<void> AggregateDeviceManager::waitUntilAlive(AudioObjectID deviceID) {
    for (int poll = 0; poll < alivePolls; ++poll) {
        if (client_.isAlive(deviceID)) co_return;
        auto pause = actor_.sleep(alivePollInterval);
        co_await pause;
    }
    logger.error("Aggregate {} did not report alive within 1s", deviceID);
}

void AggregateDeviceManager::configureAfterCreation(AudioObjectID deviceID, double sampleRate,
                                                    const std::string& masterUID) {
    try {
        if (client_.nominalSampleRate(deviceID) != sampleRate)
            client_.setNominalSampleRate(deviceID, sampleRate);
    } catch (...) {
        logger.error("Could not set aggregate sample rate: {}", currentErrorDescription());
    }
    verifyDriftCompensation(deviceID, masterUID);
}

void AggregateDeviceManager::verifyDriftCompensation(AudioObjectID deviceID, const std::string& masterUID) {
    std::vector<CompositionDictionary> entries;
    try {
        entries = subDeviceEntries(client_.aggregateComposition(deviceID));
    } catch (...) { // the client has logged why there is no composition
    }
    if (entries.empty()) {
        logger.error("Aggregate composition has no sub device entries");
        return;
    }
    for (const CompositionDictionary& entry : entries) {
        const std::string uid = uidOf(entry);
        const bool expected = uid != masterUID;
        const bool actual = compensatesDrift(entry);
        if (actual == expected) {
            logger.debug("Sub device {}: drift compensation {}", publicText(uid), actual);
        } else if (applyDriftCompensationFallback(deviceID, uid, expected)) {
            logger.notice("Corrected drift compensation for {} to {}", publicText(uid), expected);
        } else {
            logger.error("Drift compensation for {} is {}, expected {}", publicText(uid), actual, expected);
        }
    }
}

bool AggregateDeviceManager::applyDriftCompensationFallback(AudioObjectID deviceID, const std::string& uid,
                                                            bool enabled) {
    try {
        for (const AudioObjectID subDevice : client_.aggregateActiveSubDeviceIDs(deviceID)) {
            // One that can't be read is another one, or one that nothing can be said of.
            const auto read = answeredOr(
                std::nullopt, [&]() -> std::optional<std::string> { return client_.deviceUID(subDevice); });
            if (read != uid) continue;
            if (!client_.supportsSubDeviceDriftCompensation(subDevice)) return false;
            client_.setSubDeviceDriftCompensation(subDevice, enabled);
            return true;
        }
    } catch (...) { // the client has logged it; what could not be corrected is reported by the caller
    }
    return false;
}

AudioManagerError AggregateDeviceManager::incompatibleError(const std::vector<AudioOutputDevice>& devices) {
    std::string others;
    for (std::size_t i = 1; i < devices.size(); ++i)
        others += (i == 1 ? "" : ", ") + devices[i].name;
    return AudioManagerError::incompatibleSampleRates(devices.empty() ? "" : devices.front().name, others);
}

Task<void> AggregateDeviceManager::destroyAggregate(AudioObjectID deviceID) {
    logger.info("Destroying aggregate device {}", deviceID);
    try {
        client_.destroyAggregateDevice(deviceID);
    } catch (const AudioManagerError& error) {
        if (const auto status = error.status(); status && !error.isNoAnswer())
            throw AudioManagerError::aggregateDestroyFailed(coreAudioDescription(*status));
        throw;
    }
    co_await waitUntilGone();
}

Task<void> AggregateDeviceManager::destroyExistingAggregate() {
    const auto existing = existingAggregateDeviceID();
    if (!existing) co_return;
    logger.notice("Found existing aggregate {}; destroying before creating a new one", *existing);
    co_await destroyAggregate(*existing);
}

Task<void> AggregateDeviceManager::waitUntilGone() {
    for (int poll = 0; poll < gonePolls; ++poll) {
        if (!existingAggregateDeviceID()) co_return;
        auto pause = actor_.sleep(gonePollInterval);
        co_await pause;
    }
    logger.error("Aggregate {} still present 3s after destroy", std::string(aggregateUID));
}

std::optional<AudioObjectID> AggregateDeviceManager::existingAggregateDeviceID() const {
    return answeredOr(std::nullopt, [this] { return client_.deviceID(aggregateUID); });
}

} // namespace velto
