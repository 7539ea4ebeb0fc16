#import "Platform/macOS/MainAppLoginItem.h"

#import "Platform/macOS/FoundationText.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

#include <stdexcept>

namespace velto {

namespace {

void throwUnless(BOOL succeeded, NSError* error) {
    if (!succeeded) throw std::runtime_error(textOf(error.localizedDescription));
}

} // namespace

bool MainAppLoginItem::isAvailable() const noexcept {
    return [NSBundle.mainBundle.bundleURL.pathExtension isEqualToString:@"app"];
}

LoginItemService::Status MainAppLoginItem::status() const noexcept {
    switch (SMAppService.mainAppService.status) {
    case SMAppServiceStatusEnabled:
        return Status::enabled;
    case SMAppServiceStatusRequiresApproval:
        return Status::requiresApproval;
    case SMAppServiceStatusNotRegistered:
    case SMAppServiceStatusNotFound:
        break;
    }
    return Status::notRegistered;
}

void MainAppLoginItem::registerItem() {
    NSError* error = nil;
    const BOOL succeeded = [SMAppService.mainAppService registerAndReturnError:&error];
    throwUnless(succeeded, error);
}

void MainAppLoginItem::unregisterItem() {
    NSError* error = nil;
    const BOOL succeeded = [SMAppService.mainAppService unregisterAndReturnError:&error];
    throwUnless(succeeded, error);
}

void MainAppLoginItem::openLoginItemsSettings() { [SMAppService openSystemSettingsLoginItems]; }

} // namespace velto
