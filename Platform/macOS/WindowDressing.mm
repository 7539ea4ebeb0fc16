#import "Platform/macOS/WindowDressing.h"

#import <AppKit/AppKit.h>
#import <QuartzCore/QuartzCore.h>

namespace velto {

namespace {

NSString* const identifier = @"com.corlent.velto.material";

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
    material.wantsLayer = YES;
    material.layer.masksToBounds = YES;
    [content.superview addSubview:material positioned:NSWindowBelow relativeTo:content];
    return material;
}

} // namespace

void dressAsPanel(void* contentView, double cornerRadius) {
    NSView* content = (__bridge NSView*)contentView;
    NSWindow* window = content.window;
    materialBelow(content).layer.cornerRadius = cornerRadius;
    window.opaque = NO;
    window.backgroundColor = NSColor.clearColor;
    window.hasShadow = YES;
    [window invalidateShadow];
    window.level = NSPopUpMenuWindowLevel;
    window.collectionBehavior =
        NSWindowCollectionBehaviorMoveToActiveSpace | NSWindowCollectionBehaviorFullScreenAuxiliary;
}

void extendUnderTitleBar(void* contentView) {
    NSWindow* window = ((__bridge NSView*)contentView).window;
    window.styleMask |= NSWindowStyleMaskFullSizeContentView;
    window.titlebarAppearsTransparent = YES;
    window.movableByWindowBackground = YES;
}

} // namespace velto
