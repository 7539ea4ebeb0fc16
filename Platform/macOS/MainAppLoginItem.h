// MainAppLoginItem: the program itself as a login item, in the system's list of them.
//
// Main actor only. The user may switch the item off in System Settings at any time, or have to approve of it.
#pragma once

#include "VeltoCore/Services/LoginItemService.h"

namespace velto {

class MainAppLoginItem final : public LoginItemService {
  public:
    /// Only a program in an app bundle can be one.
    bool isAvailable() const noexcept override;
    Status status() const noexcept override;
    void registerItem() override;
    void unregisterItem() override;
    void openLoginItemsSettings() override;
};

} // namespace velto
