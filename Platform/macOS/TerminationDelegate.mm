#import "Platform/macOS/TerminationDelegate.h"

#import <AppKit/AppKit.h>

#include <unistd.h>

#include <cstdlib>
#include <utility>

@interface VeltoTerminationDelegate : NSObject <NSApplicationDelegate>
- (void)setHandlers:(velto::TerminationDelegate::Handlers)handlers;
@end

@implementation VeltoTerminationDelegate {
    velto::TerminationDelegate::Handlers _handlers;
}

- (void)setHandlers:(velto::TerminationDelegate::Handlers)handlers {
    _handlers = std::move(handlers);
}

- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)__unused sender {
    using Reply = velto::TerminationDelegate::Reply;
    const bool waits = _handlers.shouldTerminate && _handlers.shouldTerminate() == Reply::later;
    return waits ? NSTerminateLater : NSTerminateNow;
}

/// All is put back. What would come now, exit(), takes down the statics that Qt's other threads still use.
- (void)applicationWillTerminate:(NSNotification*)__unused notification {
    [NSUserDefaults.standardUserDefaults synchronize];
    _exit(EXIT_SUCCESS);
}

- (BOOL)applicationShouldHandleReopen:(NSApplication*)__unused sender
                    hasVisibleWindows:(BOOL)__unused hasVisibleWindows {
    if (_handlers.reopened) _handlers.reopened();
    return NO;
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)__unused sender {
    return NO;
}

- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)__unused sender {
    return YES;
}

@end

namespace velto {

struct TerminationDelegate::Delegate {
    VeltoTerminationDelegate* object; // the application holds it weakly
};

TerminationDelegate::TerminationDelegate()
    : delegate_(std::make_unique<Delegate>(Delegate{[[VeltoTerminationDelegate alloc] init]})) {
    NSApplication.sharedApplication.delegate = delegate_->object;
}

TerminationDelegate::~TerminationDelegate() { setHandlers({}); }

void TerminationDelegate::setHandlers(Handlers handlers) {
    [delegate_->object setHandlers:std::move(handlers)];
}

void TerminationDelegate::requestTermination() {
    [NSApplication.sharedApplication performSelector:@selector(terminate:)
                                          withObject:nil
                                          afterDelay:0
                                             inModes:@[ NSRunLoopCommonModes ]];
}

} // namespace velto
