// SimulatedApplicationHost: a desktop that does what it is asked, and lets a test or the simulator's bench
// put the machine to sleep.
#pragma once

#include "VeltoCore/Services/ApplicationHost.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class SimulatedApplicationHost final : public ApplicationHost {
  public:
    const PlatformWords& words() const noexcept override { return platformWords; }
    void setActivationPolicy(ActivationPolicy policy) override { policies.push_back(policy); }
    void activateIgnoringOtherApplications() override { ++activations; }
    void yieldActivation() override { ++yields; }
    void replyToTermination() override { ++terminationReplies; }
    void registerSleepObserver(SleepObserver observer) override { sleepObserver_ = std::move(observer); }
    void removeSleepObserver() override { sleepObserver_.reset(); }
    void setPasteboardText(std::string_view text) override { pasteboardText = text; }
    std::optional<std::string> bundleValue(std::string_view key) const override;
    std::string operatingSystemVersion() const override { return systemVersion; }
    std::vector<SystemDetail> systemDetails() const override { return details; }

    // Verbs

    /// Somebody closes the lid, or opens it.
    void fallAsleep();
    void wakeUp();

    // Questions

    bool isSleepObserved() const noexcept { return sleepObserver_.has_value(); }

    /// All that were set, in order.
    std::vector<ActivationPolicy> policies;
    int activations = 0;
    int yields = 0;
    int terminationReplies = 0;
    std::string pasteboardText;
    std::map<std::string, std::string, std::less<>> bundleValues{{"CFBundleShortVersionString", "1.0"},
                                                                 {"CFBundleVersion", "100"}};
    PlatformWords platformWords;
    std::string systemVersion = "Simulated 1.0";
    std::vector<SystemDetail> details;

  private:
    std::optional<SleepObserver> sleepObserver_;
};

} // namespace velto
