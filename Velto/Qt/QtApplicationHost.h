// QtApplicationHost: the desktop, as the program asks for it, where Qt's application object stands for it.
//
// Owned by the program's entry point; main actor only. What concerns the program's own windows, and its end,
// is done by VeltoApplication through the handlers.
#pragma once

#include "VeltoCore/Services/ApplicationHost.h"
#include "VeltoCore/Services/SleepMonitor.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace velto {

class QtApplicationHost final : public ApplicationHost {
  public:
    struct Handlers {
        std::function<void(ActivationPolicy)> policyChanged;
        std::function<void()> activate;
        std::function<void()> terminate;
    };

    /// The monitor must outlive the host.
    explicit QtApplicationHost(SleepMonitor& sleep) : sleep_(sleep) {}
    /// Empty handlers do nothing.
    void setHandlers(Handlers handlers) { handlers_ = std::move(handlers); }

    void setActivationPolicy(ActivationPolicy policy) override;
    void activateIgnoringOtherApplications() override;
    void yieldActivation() override {} // window managers do
    void replyToTermination() override;
    void registerSleepObserver(SleepObserver observer) override;
    void removeSleepObserver() override;
    void setPasteboardText(std::string_view text) override;
    std::optional<std::string> bundleValue(std::string_view key) const override;
    std::string operatingSystemVersion() const override;

  private:
    SleepMonitor& sleep_;
    Handlers handlers_;
};

} // namespace velto
