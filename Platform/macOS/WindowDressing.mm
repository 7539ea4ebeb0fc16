#import "Platform/macOS/WindowDressing.h"

#import <AppKit/AppKit.h>

#include <utility>

namespace velto {

namespace {

NSString* const identifier = @"com.corlent.velto.material";

/// A rounded square that can be stretched to any size.
NSImage* cornerMask(double radius) {
    const NSSize size = NSMakeSize(2 * radius + 1, 2 * radius + 1);
    NSImage* mask = [NSImage imageWithSize:size
                                   flipped:NO
                            drawingHandler:^BOOL(NSRect place) {
                              [NSColor.blackColor set];
                              [[NSBezierPath bezierPathWithRoundedRect:place xRadius:radius
                                                               yRadius:radius] fill];
                              return YES;
                            }];
    mask.capInsets = NSEdgeInsetsMake(radius, radius, radius, radius);
    mask.resizingMode = NSImageResizingModeStretch;
    return mask;
}

/// Beside the content in the window's frame, below it: a view of Qt's has none below its own drawing.
NSVisualEffectView* materialBelow(NSView* content) {
    for (NSView* sibling in content.superview.subviews)
        if ([sibling.identifier isEqualToString:identifier]) return static_cast<NSVisualEffectView*>(sibling);
    NSVisualEffectView* material = [[NSVisualEffectView alloc] initWithFrame:content.frame];
    material.identifier = identifier;
    material.material = NSVisualEffectMaterialPopover;
    material.blendingMode = NSVisualEffectBlendingModeBehindWindow;
    material.state = NSVisualEffectStateActive;
    material.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
    [content.superview addSubview:material positioned:NSWindowBelow relativeTo:content];
    return material;
}

} // namespace

void dressAsPanel(void* contentView, double cornerRadius) {
    NSView* content = (__bridge NSView*)contentView;
    NSWindow* window = content.window;
    materialBelow(content).maskImage = cornerMask(cornerRadius);
    window.opaque = NO;
    window.backgroundColor = NSColor.clearColor;
    window.hasShadow = YES;
    [window invalidateShadow];
    window.level = NSPopUpMenuWindowLevel;
    window.hidesOnDeactivate = NO; // else the system would not show it before the program is active
    window.collectionBehavior =
        NSWindowCollectionBehaviorMoveToActiveSpace | NSWindowCollectionBehaviorFullScreenAuxiliary;
}

void extendUnderTitleBar(void* contentView) {
    NSView* content = (__bridge NSView*)contentView;
    NSWindow* window = content.window;
    const NSSize size = content.frame.size;
    window.styleMask |= NSWindowStyleMaskFullSizeContentView;
    window.titlebarAppearsTransparent = YES;
    [window setContentSize:size]; // not higher by the title bar
}

struct ClicksOutside::Monitor {
    id token;
};

ClicksOutside::ClicksOutside(std::function<void()> clicked)
    : monitor_(std::make_unique<Monitor>(Monitor{[NSEvent
          addGlobalMonitorForEventsMatchingMask:NSEventMaskLeftMouseDown | NSEventMaskRightMouseDown
                                        handler:^(NSEvent*) { clicked(); }]})) {}

ClicksOutside::~ClicksOutside() { [NSEvent removeMonitor:monitor_->token]; }

} // namespace velto
