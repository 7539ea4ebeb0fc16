#include "Simulation/SimulatedCalls.h"

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace velto {

std::size_t SimulatedCalls::count(CoreAudioOperation operation) const noexcept {
    return static_cast<std::size_t>(std::ranges::count(log_, operation, &Call::operation));
}

void SimulatedCalls::failNext(CoreAudioOperation operation, Failure failure) {
    next_[operation].push_back(std::move(failure));
}

void SimulatedCalls::failAlways(CoreAudioOperation operation, OSStatus status) {
    always_.insert_or_assign(operation, Standing{status});
}

void SimulatedCalls::failCall(std::size_t callsFromNow, OSStatus status) {
    atNumber_.insert_or_assign(begun_ + callsFromNow, status);
}

void SimulatedCalls::atCall(std::size_t callsFromNow, std::function<void()> event) {
    events_.insert_or_assign(begun_ + callsFromNow, std::move(event));
}

std::vector<std::string> SimulatedCalls::unconsumed() const {
    std::vector<std::string> result;
    for (const auto& [operation, failures] : next_)
        result.push_back(std::string(name(operation)) + " was to fail");
    for (const auto& [operation, standing] : always_) {
        if (!standing.isConsumed) result.push_back(std::string(name(operation)) + " was always to fail");
    }
    for (const auto& [number, status] : atNumber_)
        result.push_back("call " + std::to_string(number) + " was to fail");
    for (const auto& [number, event] : events_)
        result.push_back("something was to happen at call " + std::to_string(number));
    return result;
}

void SimulatedCalls::forgetFailures() {
    next_.clear();
    always_.clear();
    atNumber_.clear();
    events_.clear();
}

std::optional<SimulatedCalls::Failure> SimulatedCalls::begin(CoreAudioOperation operation,
                                                             AudioObjectID object) {
    if (beforeEach) beforeEach(operation);
    const std::size_t number = begun_++;
    log_.push_back({operation, object});
    if (const auto event = events_.extract(number)) event.mapped()();
    if (const auto failure = atNumber_.extract(number)) return Failure{.status = failure.mapped()};
    if (const auto queue = next_.find(operation); queue != next_.end()) {
        Failure failure = std::move(queue->second.front());
        queue->second.erase(queue->second.begin());
        if (queue->second.empty()) next_.erase(queue);
        return failure;
    }
    if (const auto standing = always_.find(operation); standing != always_.end()) {
        standing->second.isConsumed = true;
        return Failure{.status = standing->second.status};
    }
    return std::nullopt;
}

void SimulatedCalls::fail(CoreAudioOperation operation, OSStatus status) {
    LoggingService::audioDevices.error("{} failed: {}", publicText(name(operation)),
                                       coreAudioDescription(status));
    throw AudioManagerError::coreAudioError(status);
}

void SimulatedCalls::fail(CoreAudioOperation operation, const Failure& failure) {
    if (!failure.foreignError.empty()) throw std::runtime_error(failure.foreignError);
    fail(operation, failure.status);
}

} // namespace velto
