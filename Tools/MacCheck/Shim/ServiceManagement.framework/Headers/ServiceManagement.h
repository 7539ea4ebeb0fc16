// The declarations that Velto uses of a framework which some copies of the macOS SDK lack. Only for
// Tools/check-macos with such a copy; on a Mac the system's own header is used.
#pragma once

#import <Foundation/Foundation.h>

typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
    SMAppServiceStatusNotRegistered,
    SMAppServiceStatusEnabled,
    SMAppServiceStatusRequiresApproval,
    SMAppServiceStatusNotFound,
} API_AVAILABLE(macos(13.0));

API_AVAILABLE(macos(13.0))
@interface SMAppService : NSObject
@property(class, readonly) SMAppService* mainAppService;
@property(readonly) SMAppServiceStatus status;
- (BOOL)registerAndReturnError:(NSError**)error;
- (BOOL)unregisterAndReturnError:(NSError**)error;
+ (void)openSystemSettingsLoginItems;
@end
