#import "Platform/macOS/MenuBarItem.h"

#import "Platform/macOS/FoundationText.h"

#import <AppKit/AppKit.h>

#include <cstddef>
#include <utility>

namespace {

/// What a trackpad sends for the distance that a wheel sends as one notch.
constexpr double pointsPerNotch = 10;

} // namespace

@interface VeltoMenuBarTarget : NSObject
@property(nonatomic) velto::MenuBarItem::Handlers handlers;
@property(nonatomic, strong) NSStatusItem* item;
@end

@implementation VeltoMenuBarTarget

- (void)clicked:(id)__unused sender {
    NSEvent* event = NSApplication.sharedApplication.currentEvent;
    const bool isSecondary =
        event.type == NSEventTypeRightMouseUp || (event.modifierFlags & NSEventModifierFlagControl) != 0;
    if (isSecondary) {
        [self showMenu];
    } else {
        _handlers.clicked();
    }
}

/// An item that keeps a menu would show it for every click.
- (void)showMenu {
    NSMenu* menu = [[NSMenu alloc] init];
    for (std::size_t i = 0; i < _handlers.menu.size(); ++i)
        [menu addItem:[self menuItem:i]];
    self.item.menu = menu;
    [self.item.button performClick:nil];
    self.item.menu = nil;
}

- (NSMenuItem*)menuItem:(std::size_t)index {
    const std::string& label = _handlers.menu[index].label;
    if (label.empty()) return NSMenuItem.separatorItem;
    NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:velto::platformText(label)
                                                  action:@selector(chosen:)
                                           keyEquivalent:@""];
    item.target = self;
    item.tag = static_cast<NSInteger>(index);
    return item;
}

- (void)chosen:(NSMenuItem*)sender {
    _handlers.menu[static_cast<std::size_t>(sender.tag)].chosen();
}

- (void)scrolled:(NSEvent*)event {
    const double direction = event.directionInvertedFromDevice ? -1 : 1;
    const double distance = event.scrollingDeltaY * direction;
    _handlers.scrolled(event.hasPreciseScrollingDeltas ? distance / pointsPerNotch : distance);
}

@end

namespace velto {

struct MenuBarItem::Item {
    VeltoMenuBarTarget* target;
    id scrollMonitor;
};

MenuBarItem::MenuBarItem(Handlers handlers) : item_(std::make_unique<Item>()) {
    VeltoMenuBarTarget* target = [[VeltoMenuBarTarget alloc] init];
    target.handlers = std::move(handlers);
    NSStatusItem* item = [NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength];
    item.behavior = NSStatusItemBehaviorRemovalAllowed | NSStatusItemBehaviorTerminationOnRemoval;
    item.visible = YES; // the system remembers that it was removed
    item.button.target = target;
    item.button.action = @selector(clicked:);
    [item.button sendActionOn:NSEventMaskLeftMouseDown | NSEventMaskRightMouseUp];
    target.item = item;
    item_->target = target;
    NSStatusBarButton* button = item.button;
    item_->scrollMonitor = [NSEvent addLocalMonitorForEventsMatchingMask:NSEventMaskScrollWheel
                                                                 handler:^NSEvent*(NSEvent* event) {
                                                                   if (event.window != button.window)
                                                                       return event;
                                                                   [target scrolled:event];
                                                                   return nil;
                                                                 }];
}

MenuBarItem::~MenuBarItem() {
    [NSEvent removeMonitor:item_->scrollMonitor];
    [NSStatusBar.systemStatusBar removeStatusItem:item_->target.item];
}

void MenuBarItem::setLabel(std::string_view symbol, std::string_view accessibilityText) {
    @autoreleasepool {
        NSString* text = platformText(accessibilityText);
        NSStatusBarButton* button = item_->target.item.button;
        NSImage* image = [NSImage imageWithSystemSymbolName:platformText(symbol)
                                   accessibilityDescription:text];
        [image setTemplate:YES]; // in the menu bar's own colour
        button.image = image;
        button.title = image ? @"" : @"Velto"; // never invisible
        button.toolTip = text;
        button.accessibilityLabel = text;
    }
}

MenuBarItem::Place MenuBarItem::place() const {
    NSStatusBarButton* button = item_->target.item.button;
    const NSRect inWindow = [button convertRect:button.bounds toView:nil];
    const NSRect place = [button.window convertRectToScreen:inWindow];
    const double top = NSMaxY(NSScreen.screens.firstObject.frame) - NSMaxY(place);
    return {place.origin.x, top, place.size.width, place.size.height};
}

} // namespace velto
