#import "Platform/macOS/UserNotifications.h"

#import "Platform/macOS/FoundationText.h"

#import <AppKit/AppKit.h>
#import <UserNotifications/UserNotifications.h>

#include <string>
#include <utility>

namespace {

/// One for all: the next notification takes the place of the one before.
NSString* const notificationID = @"com.corlent.velto.session";
NSString* const withAnswers = @"com.corlent.velto.question";

} // namespace

@interface VeltoNotificationDelegate : NSObject <UNUserNotificationCenterDelegate>
- (void)setHandler:(velto::NotificationService::AnswerHandler)handler;
@end

@implementation VeltoNotificationDelegate {
    velto::NotificationService::AnswerHandler _handler;
}

- (void)setHandler:(velto::NotificationService::AnswerHandler)handler {
    _handler = std::move(handler);
}

- (void)take:(NSString*)answer {
    if (const auto handler = std::exchange(_handler, {})) handler(velto::textOf(answer));
}

/// On any thread.
- (void)userNotificationCenter:(UNUserNotificationCenter*)__unused center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))completionHandler {
    NSString* action = response.actionIdentifier;
    NSString* answer = [action isEqualToString:UNNotificationDefaultActionIdentifier]
                           ? velto::platformText(velto::Notification::opened)
                           : action;
    dispatch_async(dispatch_get_main_queue(), ^{
      if (![answer isEqualToString:UNNotificationDismissActionIdentifier]) [self take:answer];
      completionHandler();
    });
}

/// Also while a window of the program is in front.
- (void)userNotificationCenter:(UNUserNotificationCenter*)__unused center
       willPresentNotification:(UNNotification*)__unused notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions))completionHandler {
    completionHandler(UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionList);
}

@end

namespace velto {

struct UserNotifications::Centre {
    UNUserNotificationCenter* system = UNUserNotificationCenter.currentNotificationCenter;
    VeltoNotificationDelegate* delegate = [[VeltoNotificationDelegate alloc] init]; // the system holds it weakly

    void setAnswers(const std::vector<Notification::Answer>& answers) const {
        NSMutableArray<UNNotificationAction*>* actions = [NSMutableArray array];
        for (const auto& [key, title] : answers)
            [actions addObject:[UNNotificationAction actionWithIdentifier:platformText(key)
                                                                    title:platformText(title)
                                                                  options:UNNotificationActionOptionNone]];
        UNNotificationCategory* category =
            [UNNotificationCategory categoryWithIdentifier:withAnswers
                                                   actions:actions
                                         intentIdentifiers:@[]
                                                   options:UNNotificationCategoryOptionNone];
        [system setNotificationCategories:[NSSet setWithObject:category]];
    }
};

UserNotifications::UserNotifications() {
    if (!NSBundle.mainBundle.bundleIdentifier) return;
    centre_ = std::make_unique<Centre>();
    centre_->system.delegate = centre_->delegate;
}

UserNotifications::~UserNotifications() {
    if (!centre_) return;
    withdraw();
    centre_->system.delegate = nil;
}

void UserNotifications::show(Notification notification, AnswerHandler answered) {
    if (!centre_) return;
    @autoreleasepool {
        UNMutableNotificationContent* content = [[UNMutableNotificationContent alloc] init];
        content.title = platformText(notification.title);
        content.body = platformText(notification.text);
        if (!notification.answers.empty()) {
            centre_->setAnswers(notification.answers);
            content.categoryIdentifier = withAnswers;
        }
        [centre_->delegate setHandler:std::move(answered)];
        UNNotificationRequest* request = [UNNotificationRequest requestWithIdentifier:notificationID
                                                                              content:content
                                                                              trigger:nil];
        UNUserNotificationCenter* system = centre_->system;
        [system requestAuthorizationWithOptions:UNAuthorizationOptionAlert
                              completionHandler:^(BOOL isGranted, NSError* __unused error) {
                                if (isGranted) [system addNotificationRequest:request withCompletionHandler:nil];
                              }];
    }
}

void UserNotifications::withdraw() {
    if (!centre_) return;
    @autoreleasepool {
        [centre_->delegate setHandler:{}];
        [centre_->system removeDeliveredNotificationsWithIdentifiers:@[ notificationID ]];
        [centre_->system removePendingNotificationRequestsWithIdentifiers:@[ notificationID ]];
    }
}

} // namespace velto
