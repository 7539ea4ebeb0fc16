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

AppKitApplicationHost::AppKitApplicationHost() = default;

AppKitApplicationHost::~AppKitApplicationHost() = default;

void AppKitApplicationHost::setActivationPolicy(ActivationPolicy policy) {
    [NSApplication.sharedApplication setActivationPolicy:policy == ActivationPolicy::regular
                                                             ? NSApplicationActivationPolicyRegular
                                                             : NSApplicationActivationPolicyAccessory];
}

void AppKitApplicationHost::activateIgnoringOtherApplications() {
    [NSApplication.sharedApplication activateIgnoringOtherApps:YES];
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
