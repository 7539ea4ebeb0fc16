#include "VeltoCore/Settings/LaunchAtLoginManager.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::lifecycle;

} // namespace

LaunchAtLoginManager::LaunchAtLoginManager(LoginItemService& service) : service_(service) { refresh(); }

Subscription LaunchAtLoginManager::observeIsEnabled(std::function<void()> handler) {
    return isEnabled_.observe(std::move(handler));
}

Subscription LaunchAtLoginManager::observeRequiresApproval(std::function<void()> handler) {
    return requiresApproval_.observe(std::move(handler));
}

Subscription LaunchAtLoginManager::observeLastError(std::function<void()> handler) {
    return lastError_.observe(std::move(handler));
}

void LaunchAtLoginManager::refresh() {
    const LoginItemService::Status status = service_.status();
    isEnabled_.set(status == LoginItemService::Status::enabled);
    requiresApproval_.set(status == LoginItemService::Status::requiresApproval);
}

void LaunchAtLoginManager::setEnabled(bool isOn) {
    lastError_.set(std::nullopt);
    try {
        if (isOn) {
            service_.registerItem();
            logger.notice("Registered as login item");
        } else {
            service_.unregisterItem();
            logger.notice("Unregistered login item");
        }
    } catch (...) {
        const std::string error = currentErrorDescription();
        logger.error("Launch at login change failed: {}", error);
        lastError_.set(error);
    }
    refresh();
}

void LaunchAtLoginManager::openLoginItemsSettings() { service_.openLoginItemsSettings(); }

} // namespace velto
