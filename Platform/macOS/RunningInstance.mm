#import "Platform/macOS/RunningInstance.h"

#import <AppKit/AppKit.h>

#include <unistd.h>

#include <cstdint>

namespace velto {

namespace {

constexpr std::int64_t patience = 5 * NSEC_PER_SEC;

/// The system knows that it runs, and tells it that it was opened again.
void openAgain(NSURL* bundle) {
    dispatch_semaphore_t told = dispatch_semaphore_create(0);
    [NSWorkspace.sharedWorkspace
        openApplicationAtURL:bundle
               configuration:[NSWorkspaceOpenConfiguration configuration]
           completionHandler:^(NSRunningApplication*, NSError*) { dispatch_semaphore_signal(told); }];
    dispatch_semaphore_wait(told, dispatch_time(DISPATCH_TIME_NOW, patience));
}

} // namespace

bool handOverToRunningInstance() {
    @autoreleasepool {
        NSString* identifier = NSBundle.mainBundle.bundleIdentifier;
        if (!identifier) return false; // not in a bundle: nobody can tell
        for (NSRunningApplication* other in
             [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier]) {
            if (other.processIdentifier == getpid() || !other.bundleURL) continue;
            openAgain(other.bundleURL);
            return true;
        }
    }
    return false;
}

} // namespace velto
