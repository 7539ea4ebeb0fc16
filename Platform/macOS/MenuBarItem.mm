#import "Platform/macOS/MenuBarItem.h"

#import "Platform/macOS/FoundationText.h"

#import <AppKit/AppKit.h>

#include <cmath>
#include <cstddef>
#include <utility>

namespace {

/// What a trackpad sends for the distance that a wheel sends as one notch.
constexpr double pointsPerNotch = 10;
NSString* const visibleKey = @"visible";

} // namespace

@interface VeltoMenuBarTarget : NSObject
@property(nonatomic) velto::MenuBarItem::Handlers handlers;
@property(nonatomic, strong) NSStatusItem* item;
@property(nonatomic) std::vector<velto::MenuBarItem::MenuEntry> shownMenu; // the last one
@end

@implementation VeltoMenuBarTarget

- (void)clicked:(id)__unused sender {
    NSEvent* event = NSApplication.sharedApplication.currentEvent;
    const bool hasControl = (event.modifierFlags & NSEventModifierFlagControl) != 0;
    const bool isSecondary =
        event.type == NSEventTypeRightMouseUp || (event.type == NSEventTypeLeftMouseDown && hasControl);
    if (isSecondary) {
        [self showMenu];
    } else {
        _handlers.clicked();
    }
}

/// An item that keeps a menu would show it for every click.
- (void)showMenu {
    NSMenu* menu = [[NSMenu alloc] init];
    menu.autoenablesItems = NO;
    _shownMenu = _handlers.menu();
    for (std::size_t i = 0; i < _shownMenu.size(); ++i)
        [menu addItem:[self menuItem:i]];
    self.item.menu = menu;
    [self.item.button performClick:nil];
    self.item.menu = nil;
}

- (NSMenuItem*)menuItem:(std::size_t)index {
    const velto::MenuBarItem::MenuEntry& entry = _shownMenu[index];
    if (entry.label.empty()) return NSMenuItem.separatorItem;
    NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:velto::platformText(entry.label)
                                                  action:@selector(chosen:)
                                           keyEquivalent:@""];
    item.target = self;
    item.tag = static_cast<NSInteger>(index);
    item.enabled = entry.isEnabled;
    item.state = entry.isChecked ? NSControlStateValueOn : NSControlStateValueOff;
    return item;
}

- (void)chosen:(NSMenuItem*)sender {
    _shownMenu[static_cast<std::size_t>(sender.tag)].chosen();
}

/// The system accelerates a wheel: a notch is a notch here. What a trackpad sends after the fingers have left
/// it is not the user's doing.
- (void)scrolled:(NSEvent*)event {
    if (event.momentumPhase != NSEventPhaseNone || event.scrollingDeltaY == 0) return;
    const double distance =
        event.directionInvertedFromDevice ? -event.scrollingDeltaY : event.scrollingDeltaY;
    _handlers.scrolled(event.hasPreciseScrollingDeltas ? distance / pointsPerNotch
                                                       : std::copysign(1.0, distance));
}

- (void)observeValueForKeyPath:(NSString*)__unused keyPath
                      ofObject:(id)__unused object
                        change:(NSDictionary*)__unused change
                       context:(void*)__unused context {
    if (!self.item.visible) _handlers.removed();
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
    // Not the behaviour that ends the program by itself: in the midst of what, nobody says.
    item.behavior = NSStatusItemBehaviorRemovalAllowed;
    item.visible = YES; // the system remembers that it was removed
    [item addObserver:target forKeyPath:visibleKey options:0 context:nil];
    item.button.target = target;
    item.button.action = @selector(clicked:);
    [item.button sendActionOn:NSEventMaskLeftMouseDown | NSEventMaskRightMouseUp];
    target.item = item;
    item_->target = target;
    NSStatusBarButton* button = item.button;
    item_->scrollMonitor =
        [NSEvent addLocalMonitorForEventsMatchingMask:NSEventMaskScrollWheel
                                              handler:^NSEvent*(NSEvent* event) {
                                                if (!button.window || event.window != button.window)
                                                    return event;
                                                [target scrolled:event];
                                                return nil;
                                              }];
}

MenuBarItem::~MenuBarItem() {
    [item_->target.item removeObserver:item_->target forKeyPath:visibleKey];
    [NSEvent removeMonitor:item_->scrollMonitor];
    [NSStatusBar.systemStatusBar removeStatusItem:item_->target.item];
}

void MenuBarItem::setLabel(std::string_view symbol, std::string_view accessibilityText,
                           std::string_view toolTip) {
    @autoreleasepool {
        NSString* text = platformText(accessibilityText);
        NSStatusBarButton* button = item_->target.item.button;
        NSImage* image = [NSImage imageWithSystemSymbolName:platformText(symbol)
                                   accessibilityDescription:text];
        [image setTemplate:YES]; // in the menu bar's own colour
        button.image = image;
        button.title = image ? @"" : @"Velto"; // never invisible
        button.toolTip = platformText(toolTip);
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
