// LinuxApplicationHost: the desktop, as the program asks for it, and what it can tell without one.
//
// Owned by the program's entry point; main actor only. What concerns the program's own windows, its end, and
// the pasteboard is done through the handlers, by who runs the loop: without a display nobody has a
// pasteboard, and nothing is copied.
#pragma once

#include "Platform/Linux/LinuxWords.h"
#include "VeltoCore/Services/ApplicationHost.h"
#include "VeltoCore/Services/SleepMonitor.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class LinuxApplicationHost final : public ApplicationHost {
  public:
    struct Handlers {
        std::function<void()> terminate;
        std::function<void(std::string_view text)> copy;
    };

    /// The monitor must outlive the host.
    explicit LinuxApplicationHost(SleepMonitor& sleep) : sleep_(sleep) {}
    /// Empty handlers do nothing.
    void setHandlers(Handlers handlers) { handlers_ = std::move(handlers); }
    /// What there is to say of the sound system, asked for at each report.
    void setSoundSystem(std::function<std::vector<SystemDetail>()> details) {
        soundSystem_ = std::move(details);
    }
    /// Of Qt, by who has loaded it.
    void setToolkitVersion(std::string version) { toolkitVersion_ = std::move(version); }

    const PlatformWords& words() const noexcept override { return linuxWords(); }
    void setActivationPolicy(ActivationPolicy) override {} // a task bar lists windows
    void activateIgnoringOtherApplications() override {}   // window managers do
    void yieldActivation() override {}                     // window managers do
    void replyToTermination() override;
    void registerSleepObserver(SleepObserver observer) override;
    void removeSleepObserver() override;
    void setPasteboardText(std::string_view text) override;
    std::optional<std::string> bundleValue(std::string_view key) const override;
    std::string operatingSystemVersion() const override;
    /// Sound system, Qt, and what the session says that it is.
    std::vector<SystemDetail> systemDetails() const override;

  private:
    SleepMonitor& sleep_;
    Handlers handlers_;
    std::function<std::vector<SystemDetail>()> soundSystem_;
    std::string toolkitVersion_ = "not loaded";
};

} // namespace velto
