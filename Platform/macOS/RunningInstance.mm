#import "Platform/macOS/RunningInstance.h"

#import <AppKit/AppKit.h>

namespace velto {

namespace {

NSString* const reopenNotification = @"com.corlent.velto.reopen";

/// Of two that start at the same time only the younger gives way.
bool isOlder(NSRunningApplication* other) {
    NSRunningApplication* own = NSRunningApplication.currentApplication;
    if (other.terminated || other.processIdentifier == own.processIdentifier) return false;
    if (!other.launchDate || !own.launchDate) return other.processIdentifier < own.processIdentifier;
    return [other.launchDate compare:own.launchDate] == NSOrderedAscending;
}

} // namespace

bool handOverToRunningInstance() {
    @autoreleasepool {
        NSString* identifier = NSBundle.mainBundle.bundleIdentifier;
        if (!identifier) return false; // not in a bundle: nobody can tell
        for (NSRunningApplication* other in
             [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier]) {
            if (!isOlder(other)) continue;
            [NSDistributedNotificationCenter.defaultCenter postNotificationName:reopenNotification
                                                                         object:nil
                                                                       userInfo:nil
                                                             deliverImmediately:YES];
            return true;
        }
    }
    return false;
}

struct HandOverObserver::Observation {
    id token;
};

HandOverObserver::HandOverObserver(std::function<void()> handler)
    : observation_(std::make_unique<Observation>(Observation{[NSDistributedNotificationCenter.defaultCenter
          addObserverForName:reopenNotification
                      object:nil
                       queue:nil // where it is delivered: the main thread
                  usingBlock:^(NSNotification*) { handler(); }]})) {}

HandOverObserver::~HandOverObserver() {
    [NSDistributedNotificationCenter.defaultCenter removeObserver:observation_->token];
}

} // namespace velto
