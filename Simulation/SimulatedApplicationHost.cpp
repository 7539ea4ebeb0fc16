#include "Simulation/SimulatedApplicationHost.h"

namespace velto {

std::optional<std::string> SimulatedApplicationHost::bundleValue(std::string_view key) const {
    const auto found = bundleValues.find(key);
    return found == bundleValues.end() ? std::nullopt : std::optional(found->second);
}

void SimulatedApplicationHost::fallAsleep() {
    const auto observer = sleepObserver_; // it may remove itself
    if (observer) observer->willSleep();
}

void SimulatedApplicationHost::wakeUp() {
    const auto observer = sleepObserver_; // it may remove itself
    if (observer) observer->didWake();
}

} // namespace velto
