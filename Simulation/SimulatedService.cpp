#include "Simulation/SimulatedService.h"

namespace velto {

std::vector<std::string> SimulatedService::unconsumedFaults() const {
    std::vector<std::string> result = faults.unconsumed();
    for (std::string& text : calls.unconsumed())
        result.push_back(std::move(text));
    return result;
}

bool SimulatedService::isUnreadable(Operation operation, AudioObjectID device) noexcept {
    const auto* found = known().plugged().find(device);
    return found && !found->device.isReadable && operation != Operation::deviceUID;
}

} // namespace velto
