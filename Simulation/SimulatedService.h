// SimulatedService: how calls of the program are answered by the simulated world's audio service.
//
// Between the world and the client to it, whose operations are made of perform() and answer(): each is noted,
// may fail as `calls` was told, may find nobody who answers, and else reads or changes what the program knows
// of the world. Verbs and questions of the world are not counted.
#pragma once

#include "Simulation/SimulatedCalls.h"
#include "Simulation/SimulatedWorld.h"
#include "VeltoCore/CoreAudio/AudioManagerError.h"

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace velto {

class SimulatedService : public SimulatedWorld {
  public:
    SimulatedCalls calls;
    /// Faults and failures that were asked for and did not come to pass.
    std::vector<std::string> unconsumedFaults() const;

  protected:
    using Operation = CoreAudioOperation;
    using Hardware = SimulatedHardware;

    explicit SimulatedService(MainActor& actor) : SimulatedWorld(actor) {}
    ~SimulatedService() = default;

    /// For operations that may throw. What the body throws is the world's refusal.
    template <class Body>
    auto perform(Operation operation, AudioObjectID object, const Body& body);
    /// For operations that can't: they yield `otherwise` where others would throw.
    template <class Value, class Body>
    Value answer(Operation operation, AudioObjectID object, Value otherwise, const Body& body) noexcept;
    /// The same for what is a field of a device; absent without one.
    template <class Value>
    Value answer(Operation operation, AudioObjectID device, Value SimulatedDevice::*field) noexcept;

  private:
    bool isUnreadable(Operation operation, AudioObjectID device) noexcept;
    /// Done late, when nobody waits for it any more.
    template <class Body>
    static void obey(const Body& body, Hardware& hardware);
};

template <class Body>
void SimulatedService::obey(const Body& body, Hardware& hardware) {
    try {
        body(hardware);
    } catch (const AudioManagerError&) { // what was to be changed has gone
    }
}

template <class Body>
auto SimulatedService::perform(Operation operation, AudioObjectID object, const Body& body) {
    const auto failure = calls.begin(operation, object);
    const auto noAnswer = [this, operation] {
        noticeSilence();
        SimulatedCalls::fail(operation, kAudioHardwareNotRunningError);
    };
    if (!isReachable()) noAnswer();
    if (isHanging() && isChange(operation)) {
        if (faults.obeysLate.consume()) doLater([body](Hardware& hardware) { obey(body, hardware); });
        noAnswer();
    }
    if (failure && !failure->isAfterEffect) SimulatedCalls::fail(operation, *failure);
    if (isUnreadable(operation, object)) SimulatedCalls::fail(operation, kAudioHardwareUnspecifiedError);
    const auto failAfterwards = [&] {
        publish();
        if (failure) SimulatedCalls::fail(operation, *failure);
    };
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<const Body&, Hardware&>>) {
            body(known());
            failAfterwards();
        } else {
            auto value = body(known());
            failAfterwards();
            return value;
        }
    } catch (const AudioManagerError& error) {
        if (failure || !error.status()) throw;
        // Refused by the world's rules: logged like any failed call.
        SimulatedCalls::fail(operation, *error.status());
    }
}

template <class Value, class Body>
Value SimulatedService::answer(Operation operation, AudioObjectID object, Value otherwise,
                               const Body& body) noexcept {
    const auto failure = calls.begin(operation, object);
    const bool isAnswered = !failure && isReachable() && !isUnreadable(operation, object);
    return isAnswered ? static_cast<Value>(body(known())) : std::move(otherwise);
}

template <class Value>
Value SimulatedService::answer(Operation operation, AudioObjectID device,
                               Value SimulatedDevice::*field) noexcept {
    return answer(operation, device, Value(), [&](const Hardware& hardware) {
        const auto* found = hardware.plugged().find(device);
        return found ? found->device.*field : Value();
    });
}

} // namespace velto
