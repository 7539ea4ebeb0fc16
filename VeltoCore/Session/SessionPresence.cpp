#include "VeltoCore/Session/SessionPresence.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/CoreAudio/Answer.h"

#include <algorithm>
#include <utility>

namespace velto {

bool SessionPresence::isFound(const AudioOutputDevice& output) const {
    return answeredOr(false, [&] { return client_.deviceID(output.uid).has_value(); });
}

std::vector<AudioOutputDevice> SessionPresence::missing(const DualOutputSession& session) const {
    std::vector<AudioOutputDevice> missing;
    for (AudioOutputDevice& output : session.devices()) {
        try {
            if (!isFound(output)) missing.push_back(std::move(output));
        } catch (const AudioManagerError&) { // no answer
        }
    }
    return missing;
}

bool SessionPresence::isComplete(const DualOutputSession& session) const {
    return std::ranges::all_of(session.devices(), [this](const auto& output) { return isFound(output); });
}

bool SessionPresence::takesPart(const AudioOutputDevice& output, const DualOutputSession& session) const {
    return answeredOr(false, [&] {
        const auto subDevices = client_.aggregateActiveSubDeviceIDs(session.aggregateDeviceID);
        return std::ranges::any_of(
            subDevices, [&](AudioObjectID device) { return client_.deviceUID(device) == output.uid; });
    });
}

bool SessionPresence::isAggregateThere(const DualOutputSession& session) const {
    return client_.deviceID(AggregateDeviceManager::aggregateUID) == session.aggregateDeviceID;
}

std::optional<AudioObjectID> SessionPresence::aggregate(const DualOutputSession& session) const {
    return answeredOr(session.aggregateDeviceID,
                      [this] { return client_.deviceID(AggregateDeviceManager::aggregateUID); });
}

} // namespace velto
