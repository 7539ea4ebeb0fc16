#import "Platform/macOS/AppKitApplicationHost.h"

#import "Platform/macOS/FoundationText.h"

#import <AppKit/AppKit.h>

#include <functional>
#include <utility>

namespace velto {

namespace {

NSNotificationCenter* workspaceNotifications() { return NSWorkspace.sharedWorkspace.notificationCenter; }

id observe(NSNotificationName name, std::function<void()> handler) {
    return [workspaceNotifications() addObserverForName:name
                                                 object:nil
                                                  queue:nil // where it is sent: the main thread
                                             usingBlock:^(NSNotification*) {
                                               if (handler) handler();
                                             }];
}

} // namespace

struct AppKitApplicationHost::SleepNotifications {
    explicit SleepNotifications(SleepObserver observer)
        : willSleep(observe(NSWorkspaceWillSleepNotification, std::move(observer.willSleep))),
          didWake(observe(NSWorkspaceDidWakeNotification, std::move(observer.didWake))) {}
    SleepNotifications(const SleepNotifications&) = delete;
    SleepNotifications& operator=(const SleepNotifications&) = delete;
    ~SleepNotifications() {
        [workspaceNotifications() removeObserver:willSleep];
        [workspaceNotifications() removeObserver:didWake];
    }

    id willSleep;
    id didWake;
};

/// Doesn't keep the Mac awake.
struct AppKitApplicationHost::Activity {
    Activity()
        : token([NSProcessInfo.processInfo
              beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                                reason:@"Plays sound on two outputs"]) {}
    Activity(const Activity&) = delete;
    Activity& operator=(const Activity&) = delete;
    ~Activity() { [NSProcessInfo.processInfo endActivity:token]; }

    id<NSObject> token;
};

AppKitApplicationHost::AppKitApplicationHost() : activity_(std::make_unique<Activity>()) {}

AppKitApplicationHost::~AppKitApplicationHost() = default;

/// The system takes the front from a program whose policy changes, and shows its menus late: the window in
/// front is brought back.
void AppKitApplicationHost::setActivationPolicy(ActivationPolicy policy) {
    const NSApplicationActivationPolicy wanted = policy == ActivationPolicy::regular
                                                     ? NSApplicationActivationPolicyRegular
                                                     : NSApplicationActivationPolicyAccessory;
    NSApplication* application = NSApplication.sharedApplication;
    if (application.activationPolicy == wanted) return;
    NSWindow* front = application.keyWindow;
    [application setActivationPolicy:wanted];
    if (!front) return;
    dispatch_async(dispatch_get_main_queue(), ^{
      [application activateIgnoringOtherApps:YES];
      [front makeKeyAndOrderFront:nil];
    });
}

void AppKitApplicationHost::activateIgnoringOtherApplications() {
    [NSApplication.sharedApplication activateIgnoringOtherApps:YES];
}

void AppKitApplicationHost::yieldActivation() {
    NSApplication* application = NSApplication.sharedApplication;
    const bool isAccessory = application.activationPolicy == NSApplicationActivationPolicyAccessory;
    if (application.active && isAccessory) [application hide:nil];
}

void AppKitApplicationHost::replyToTermination() {
    [NSApplication.sharedApplication replyToApplicationShouldTerminate:YES];
}

void AppKitApplicationHost::registerSleepObserver(SleepObserver observer) {
    sleep_ = std::make_unique<SleepNotifications>(std::move(observer));
}

void AppKitApplicationHost::removeSleepObserver() { sleep_.reset(); }

void AppKitApplicationHost::setPasteboardText(std::string_view text) {
    @autoreleasepool {
        NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
        [pasteboard clearContents];
        [pasteboard setString:platformText(text) forType:NSPasteboardTypeString];
    }
}

std::optional<std::string> AppKitApplicationHost::bundleValue(std::string_view key) const {
    @autoreleasepool {
        id value = [NSBundle.mainBundle objectForInfoDictionaryKey:platformText(key)];
        if (![value isKindOfClass:[NSString class]]) return std::nullopt;
        return textOf(value);
    }
}

std::string AppKitApplicationHost::operatingSystemVersion() const {
    @autoreleasepool {
        return textOf(NSProcessInfo.processInfo.operatingSystemVersionString);
    }
}

} // namespace velto
