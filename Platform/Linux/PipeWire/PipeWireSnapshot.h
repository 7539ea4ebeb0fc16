// PipeWireSnapshot: all that listeners of the client hear of, as it is at one time.
//
// A plain value. The client keeps the one that it last told of.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireListeners.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velto {

class PipeWireAggregates;
class PipeWireGraph;
class PipeWireSystemOutputs;

struct PipeWireSnapshot {
    struct Device {
        std::vector<float> channelVolumes;
        std::optional<bool> isMuted;
        bool isRunning = false;
        bool isAlive = false;
        std::string name;
        bool canPlay = false;
    };
    std::map<AudioObjectID, Device> devices;
    AudioObjectID defaultOutput = kAudioObjectUnknown;
    AudioObjectID alertOutput = kAudioObjectUnknown;
    double sampleRate = 0;

    static PipeWireSnapshot of(const PipeWireGraph& graph, const PipeWireAggregates& aggregates,
                               const PipeWireSystemOutputs& outputs);
    /// The properties in which the two differ.
    std::set<ListenedProperty> differences(const PipeWireSnapshot& next) const;
};

} // namespace velto
