// The declarations that Velto uses of a framework which some copies of the macOS SDK lack. Only for
// Tools/check-macos with such a copy; on a Mac the system's own header is used.
#pragma once

#import <Foundation/Foundation.h>

@class UNNotification, UNNotificationResponse, UNNotificationTrigger, UNUserNotificationCenter;

typedef NS_OPTIONS(NSUInteger, UNAuthorizationOptions) { UNAuthorizationOptionAlert = (1 << 2) };
typedef NS_OPTIONS(NSUInteger, UNNotificationActionOptions) { UNNotificationActionOptionNone = 0 };
typedef NS_OPTIONS(NSUInteger, UNNotificationCategoryOptions) { UNNotificationCategoryOptionNone = 0 };
typedef NS_OPTIONS(NSUInteger, UNNotificationPresentationOptions) {
    UNNotificationPresentationOptionList API_AVAILABLE(macos(11.0)) = (1 << 3),
    UNNotificationPresentationOptionBanner API_AVAILABLE(macos(11.0)) = (1 << 4),
};

FOUNDATION_EXPORT NSString* const UNNotificationDefaultActionIdentifier;
FOUNDATION_EXPORT NSString* const UNNotificationDismissActionIdentifier;

API_AVAILABLE(macos(10.14))
@interface UNNotificationAction : NSObject
+ (instancetype)actionWithIdentifier:(NSString*)identifier
                               title:(NSString*)title
                             options:(UNNotificationActionOptions)options;
@end

API_AVAILABLE(macos(10.14))
@interface UNNotificationCategory : NSObject
+ (instancetype)categoryWithIdentifier:(NSString*)identifier
                               actions:(NSArray<UNNotificationAction*>*)actions
                     intentIdentifiers:(NSArray<NSString*>*)intentIdentifiers
                               options:(UNNotificationCategoryOptions)options;
@end

API_AVAILABLE(macos(10.14))
@interface UNNotificationContent : NSObject
@end

API_AVAILABLE(macos(10.14))
@interface UNMutableNotificationContent : UNNotificationContent
@property(copy) NSString* title;
@property(copy) NSString* body;
@property(copy) NSString* categoryIdentifier;
@end

API_AVAILABLE(macos(10.14))
@interface UNNotificationRequest : NSObject
+ (instancetype)requestWithIdentifier:(NSString*)identifier
                              content:(UNNotificationContent*)content
                              trigger:(nullable UNNotificationTrigger*)trigger;
@end

API_AVAILABLE(macos(10.14))
@interface UNNotificationResponse : NSObject
@property(readonly, copy) NSString* actionIdentifier;
@end

API_AVAILABLE(macos(10.14))
@protocol UNUserNotificationCenterDelegate <NSObject>
@optional
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions options))completionHandler;
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))completionHandler;
@end

API_AVAILABLE(macos(10.14))
@interface UNUserNotificationCenter : NSObject
@property(weak, nullable) id<UNUserNotificationCenterDelegate> delegate;
+ (UNUserNotificationCenter*)currentNotificationCenter;
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL granted, NSError* _Nullable error))completionHandler;
- (void)setNotificationCategories:(NSSet<UNNotificationCategory*>*)categories;
- (void)addNotificationRequest:(UNNotificationRequest*)request
         withCompletionHandler:(nullable void (^)(NSError* _Nullable error))completionHandler;
- (void)removePendingNotificationRequestsWithIdentifiers:(NSArray<NSString*>*)identifiers;
- (void)removeDeliveredNotificationsWithIdentifiers:(NSArray<NSString*>*)identifiers;
@end
