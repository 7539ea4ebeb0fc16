#include "Tests/Contract/ApplicationHostUnderTest.h"

#include "Platform/macOS/AppKitApplicationHost.h"

#import <AppKit/AppKit.h>

namespace velto {

namespace {

/// The user's own desktop; what is on its pasteboard, as far as it is text, is put back.
class AppKitApplicationHostUnderTest final : public ApplicationHostUnderTest {
  public:
    AppKitApplicationHostUnderTest() {
        @autoreleasepool {
            [NSApplication sharedApplication];
            pastedBefore_ = [[NSPasteboard generalPasteboard] stringForType:NSPasteboardTypeString];
        }
    }
    ~AppKitApplicationHostUnderTest() override {
        @autoreleasepool {
            if (!pastedBefore_) return;
            [[NSPasteboard generalPasteboard] clearContents];
            [[NSPasteboard generalPasteboard] setString:pastedBefore_ forType:NSPasteboardTypeString];
        }
    }

    ApplicationHost& host() override { return host_; }
    void fallAsleep() override { post(NSWorkspaceWillSleepNotification); }
    void wake() override { post(NSWorkspaceDidWakeNotification); }
    std::string pasteboardText() override {
        @autoreleasepool {
            NSString* text = [[NSPasteboard generalPasteboard] stringForType:NSPasteboardTypeString];
            return text ? text.UTF8String : "";
        }
    }
    std::optional<std::string> builtWith(std::string_view bundleKey) override {
        // As in the Info.plist that is linked into the test program.
        if (bundleKey == "CFBundleShortVersionString") return VELTO_VERSION;
        if (bundleKey == "CFBundleVersion") return VELTO_BUILD_NUMBER;
        return std::nullopt;
    }

  private:
    static void post(NSNotificationName name) {
        @autoreleasepool {
            NSWorkspace* workspace = [NSWorkspace sharedWorkspace];
            [workspace.notificationCenter postNotificationName:name object:workspace];
            // An observer that asked for the main queue is told in a turn of its own.
            [[NSRunLoop mainRunLoop] runUntilDate:[NSDate date]];
        }
    }

    NSString* pastedBefore_ = nil;
    AppKitApplicationHost host_;
};

} // namespace

std::unique_ptr<ApplicationHostUnderTest> makeApplicationHostUnderTest() {
    return std::make_unique<AppKitApplicationHostUnderTest>();
}

} // namespace velto
