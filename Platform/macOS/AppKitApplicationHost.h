// AppKitApplicationHost: the Mac's desktop, as the program asks for it.
//
// Owned by the program's entry point; main actor only. While there is one, the system doesn't put the program
// to rest because it has no window: its timers come in time.
#pragma once

#include "Platform/macOS/MacWords.h"
#include "VeltoCore/Services/ApplicationHost.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class AppKitApplicationHost final : public ApplicationHost {
  public:
    AppKitApplicationHost();
    AppKitApplicationHost(const AppKitApplicationHost&) = delete;
    AppKitApplicationHost& operator=(const AppKitApplicationHost&) = delete;
    ~AppKitApplicationHost() override;

    const PlatformWords& words() const noexcept override { return macWords(); }
    void setActivationPolicy(ActivationPolicy policy) override;
    void activateIgnoringOtherApplications() override;
    void yieldActivation() override;
    void replyToTermination() override;
    void registerSleepObserver(SleepObserver observer) override;
    void removeSleepObserver() override;
    void setPasteboardText(std::string_view text) override;
    std::optional<std::string> bundleValue(std::string_view key) const override;
    std::string operatingSystemVersion() const override;
    std::vector<SystemDetail> systemDetails() const override { return {}; }

  private:
    struct Activity;
    struct SleepNotifications;

    std::unique_ptr<Activity> activity_;
    std::unique_ptr<SleepNotifications> sleep_; // none while nobody observes
};

} // namespace velto
