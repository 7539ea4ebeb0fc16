// LogindSleepMonitor: the machine's sleep and wake, as the login manager announces them on the system bus.
//
// Owned by the program's entry point, used on the main actor. Without a bus or a login manager nothing is
// ever announced, which is logged once.
#pragma once

#include "Platform/Linux/BusConnection.h"
#include "VeltoCore/Services/SleepMonitor.h"

#include <memory>
#include <string>

namespace velto {

class LogindSleepMonitor final : public SleepMonitor {
  public:
    /// `busAddress` is a D-Bus address; empty for the machine's system bus.
    explicit LogindSleepMonitor(FileDescriptorWatcher& watcher, std::string busAddress = {});
    ~LogindSleepMonitor() override;

    void observe(SleepObserver observer) override;

  private:
    static int prepareForSleep(sd_bus_message* message, void* self, sd_bus_error*);

    FileDescriptorWatcher& watcher_;
    std::string busAddress_;
    SleepObserver observer_;
    std::shared_ptr<BusConnection> connection_; // none while nobody observes
};

} // namespace velto
