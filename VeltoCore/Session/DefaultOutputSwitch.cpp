#include "VeltoCore/Session/DefaultOutputSwitch.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"

namespace velto {

bool DefaultOutputSwitch::isChoice(const std::string& uid) {
    if (uid == AggregateDeviceManager::aggregateUID) {
        end();
        return false;
    }
    return !isPending_ || !before_.contains(uid);
}

} // namespace velto
