#include "Simulation/SimulatedFaults.h"

namespace velto {

std::vector<std::string> SimulatedFaults::unconsumed() const {
    std::vector<std::string> names;
    const auto check = [&names](const auto& fault, const char* name) {
        if (fault.isUnconsumed()) names.emplace_back(name);
    };
    check(neverAlive, "neverAlive");
    check(aliveAfter, "aliveAfter");
    check(createsInvalidDevice, "createsInvalidDevice");
    check(invertsDriftCompensation, "invertsDriftCompensation");
    check(hidesSubDevices, "hidesSubDevices");
    check(plainSubDevices, "plainSubDevices");
    check(lingersAfterDestroy, "lingersAfterDestroy");
    check(doesNotRejoin, "doesNotRejoin");
    check(returnsWithAnotherID, "returnsWithAnotherID");
    check(slowRateChange, "slowRateChange");
    check(slowOutputChange, "slowOutputChange");
    check(obeysLate, "obeysLate");
    check(notifiesSynchronously, "notifiesSynchronously");
    return names;
}

} // namespace velto
