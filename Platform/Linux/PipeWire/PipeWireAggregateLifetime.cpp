#include "Platform/Linux/PipeWire/PipeWireAggregateLifetime.h"

#include "Platform/Linux/PipeWire/PipeWireFailure.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"

#include <chrono>

namespace velto {

namespace {

/// How long the session manager may take to leave a removed default output. It takes about 2 ms.
constexpr std::chrono::milliseconds newDefaultGrace{200};

} // namespace

/// While it lives, an aggregate that isn't there yet is not one that has gone.
class PipeWireAggregateLifetime::Beginning {
  public:
    explicit Beginning(PipeWireAggregateLifetime& owner) : owner_(owner) { owner.isBeginning_ = true; }
    Beginning(const Beginning&) = delete;
    Beginning& operator=(const Beginning&) = delete;
    ~Beginning() {
        owner_.isBeginning_ = false;
        owner_.hadAggregate_ = true; // so that its absence, now or later, is one that is new
        owner_.follow();
        owner_.awaitRestored();
    }

  private:
    PipeWireAggregateLifetime& owner_;
};

AudioObjectID PipeWireAggregateLifetime::begin(const AggregateDeviceDescription& description) {
    const Beginning beginning(*this); // from here on: a rate has been forced for it by now
    if (!outputs_.hasSessionManager())
        failPipeWireCall(kAudioHardwareNotRunningError, "CreateAggregateDevice");
    if (!graph_.device(description.uid)) outputs_.prepareForAggregate(description.uid);
    const AudioObjectID created = aggregates_.create(description);
    for (const auto& subDevice : description.subDevices)
        setDriftCompensation(subDevice.uid, subDevice.driftCompensation);
    return created;
}

void PipeWireAggregateLifetime::end(const PipeWireNode& aggregate) {
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the node goes
    const std::string name = aggregate.name();
    outputs_.letGo();
    aggregates_.destroy(aggregate);
    follow();
    connection_.waitUntil([&] { return outputs_.hasLeft(name); }, newDefaultGrace);
    outputs_.finishRestoring(pipeWireDeadline - newDefaultGrace);
    driftCompensation_.clear();
}

void PipeWireAggregateLifetime::follow() {
    if (isBeginning_) return;
    const bool hasAggregate = aggregates_.existing() != nullptr;
    if (!hasAggregate && hadAggregate_.value_or(true))
        outputs_.restore(std::string(AggregateDeviceManager::aggregateUID));
    hadAggregate_ = hasAggregate;
}

void PipeWireAggregateLifetime::awaitRestored() { outputs_.finishRestoring(newDefaultGrace); }

void PipeWireAggregateLifetime::forget() {
    driftCompensation_.clear();
    hadAggregate_.reset();
}

std::optional<AggregateDeviceDescription>
PipeWireAggregateLifetime::description(const PipeWireNode& node) const {
    auto result = PipeWireAggregates::description(node);
    if (!result) return result;
    for (auto& subDevice : result->subDevices) {
        const auto set = driftCompensation_.find(subDevice.uid);
        if (set != driftCompensation_.end()) subDevice.driftCompensation = set->second;
    }
    return result;
}

bool PipeWireAggregateLifetime::driftCompensation(const std::string& uid) const {
    const auto set = driftCompensation_.find(uid);
    return set != driftCompensation_.end() ? set->second : aggregates_.describesDriftCompensation(uid);
}

} // namespace velto
