// How each call of the simulated client goes: it is noted, may fail, may find nobody who answers, and reads
// or changes the world.
//
// For the sources of SimulatedAudioSystem's client only.
#pragma once

#include "Simulation/SimulatedAudioSystem.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace velto {

namespace simulated {

inline constexpr AudioObjectID theSystem = kAudioObjectSystemObject;

/// Fails as a client does: logs, then throws.
[[noreturn]] inline void fail(CoreAudioOperation operation, OSStatus status) {
    LoggingService::audioDevices.error("{} failed: {}", publicText(name(operation)),
                                       coreAudioDescription(status));
    throw AudioManagerError::coreAudioError(status);
}

[[noreturn]] inline void fail(CoreAudioOperation operation, const SimulatedCalls::Failure& failure) {
    if (!failure.foreignError.empty()) throw std::runtime_error(failure.foreignError);
    fail(operation, failure.status);
}

[[noreturn]] inline void refuse(OSStatus status) { throw AudioManagerError::coreAudioError(status); }

/// Whether the operation changes something, and so needs an answer even while the service hangs.
inline bool isChange(CoreAudioOperation operation) noexcept {
    constexpr std::array changes{CoreAudioOperation::setNominalSampleRate,
                                 CoreAudioOperation::setDefaultOutputDevice,
                                 CoreAudioOperation::setDefaultSystemOutputDevice,
                                 CoreAudioOperation::createAggregateDevice,
                                 CoreAudioOperation::destroyAggregateDevice,
                                 CoreAudioOperation::setSubDeviceDriftCompensation,
                                 CoreAudioOperation::setOutputVolume,
                                 CoreAudioOperation::setOutputMute};
    return std::ranges::find(changes, operation) != changes.end();
}

/// For what nobody waits for any more.
inline void obey(const auto& body) {
    try {
        body();
    } catch (const AudioManagerError&) { // what was to be changed has gone
    }
}

} // namespace simulated

inline void SimulatedAudioSystem::swapWithLastHeard() noexcept {
    if (!lastHeard_) return;
    std::swap(plugged_, lastHeard_->plugged);
    std::swap(aggregates_, lastHeard_->aggregates);
    std::swap(defaultOutput_, lastHeard_->defaultOutput);
    std::swap(alertOutput_, lastHeard_->alertOutput);
}

/// What the body reads, in the world as the program knows it.
template <class Body>
auto SimulatedAudioSystem::asLastHeard(Body body) {
    struct Swapped {
        explicit Swapped(SimulatedAudioSystem& world) : world(world) { world.swapWithLastHeard(); }
        ~Swapped() { world.swapWithLastHeard(); }
        SimulatedAudioSystem& world;
    };
    const Swapped swapped(*this);
    return body();
}

template <class Body>
auto SimulatedAudioSystem::perform(Operation operation, AudioObjectID object, Body body) {
    const auto failure = calls.begin(operation, object);
    const auto noAnswer = [this, operation] {
        isKnownToHang_ = isHanging_;
        simulated::fail(operation, kAudioHardwareNotRunningError);
    };
    if (!isReachable()) noAnswer();
    if (isHanging_ && simulated::isChange(operation)) {
        if (faults.obeysLate.consume()) lateWork_.emplace_back([body] { simulated::obey(body); });
        noAnswer();
    }
    if (failure && !failure->isAfterEffect) simulated::fail(operation, *failure);
    const auto failAfterwards = [&] {
        publish();
        if (failure) simulated::fail(operation, *failure);
    };
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
            asLastHeard(body);
            failAfterwards();
        } else {
            auto value = asLastHeard(body);
            failAfterwards();
            return value;
        }
    } catch (const AudioManagerError& error) {
        if (failure || !error.status()) throw;
        simulated::fail(operation,
                        *error.status()); // refused by the world's rules: logged like any failed call
    }
}

template <class Value, class Body>
Value SimulatedAudioSystem::answer(Operation operation, AudioObjectID object, Value otherwise,
                                   Body body) noexcept {
    const auto failure = calls.begin(operation, object);
    return failure || !isReachable() ? std::move(otherwise) : static_cast<Value>(asLastHeard(body));
}

template <class Value>
Value SimulatedAudioSystem::answer(Operation operation, AudioObjectID device,
                                   Value SimulatedDevice::*field) noexcept {
    return answer(operation, device, Value(), [&] {
        const Plugged* found = plugged_.find(device);
        return found ? found->device.*field : Value();
    });
}

} // namespace velto
