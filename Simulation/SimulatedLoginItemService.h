// SimulatedLoginItemService: a platform's login items, as one that asks for approval, or refuses, at will.
#pragma once

#include "VeltoCore/Services/LoginItemService.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace velto {

class SimulatedLoginItemService final : public LoginItemService {
  public:
    bool isAvailable() const noexcept override { return isInstalled; }
    Status status() const noexcept override { return current; }
    void registerItem() override {
        failIfAsked();
        current = wantsApproval ? Status::requiresApproval : Status::enabled;
    }
    void unregisterItem() override {
        failIfAsked();
        current = Status::notRegistered;
    }
    void openLoginItemsSettings() override { ++settingsOpened; }

    /// The next change fails with this text, once.
    void failNextChange(std::string error) { failure_ = std::move(error); }

    bool isInstalled = true;
    /// A registration waits for the user's approval.
    bool wantsApproval = false;
    /// What the user may have changed in the system's settings.
    Status current = Status::notRegistered;
    int settingsOpened = 0;

  private:
    void failIfAsked() {
        if (const auto failure = std::exchange(failure_, std::nullopt)) throw std::runtime_error(*failure);
    }

    std::optional<std::string> failure_;
};

} // namespace velto
