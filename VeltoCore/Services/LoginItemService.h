// LoginItemService: whether the platform starts this program when the user logs in.
#pragma once

namespace velto {

class LoginItemService {
  public:
    enum class Status {
        notRegistered,
        enabled,
        /// Registered, but the user must approve of it in the system's settings first.
        requiresApproval,
    };

    virtual ~LoginItemService() = default;
    /// Whether the program runs from where it is installed: only then can it be registered.
    virtual bool isAvailable() const noexcept = 0;
    /// What the platform has now; not registered when that can't be told.
    virtual Status status() const noexcept = 0;
    /// Throws an error that says why it can't. So does unregister().
    virtual void registerItem() = 0;
    virtual void unregisterItem() = 0;
    /// Shows the system's list of login items to the user; nothing where there is none.
    virtual void openLoginItemsSettings() = 0;
};

} // namespace velto
