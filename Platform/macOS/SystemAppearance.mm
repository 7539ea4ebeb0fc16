#import "Platform/macOS/SystemAppearance.h"

#import <AppKit/AppKit.h>

#include <utility>

@interface VeltoAppearanceObserver : NSObject
@property(nonatomic) std::function<void()> changed;
@end

@implementation VeltoAppearanceObserver

- (instancetype)init {
    self = [super init];
    if (!self) return nil;
    [NSApplication.sharedApplication addObserver:self
                                      forKeyPath:@"effectiveAppearance"
                                         options:0
                                         context:nil];
    [NSNotificationCenter.defaultCenter addObserver:self
                                           selector:@selector(wishesChanged:)
                                               name:NSSystemColorsDidChangeNotification
                                             object:nil];
    [NSWorkspace.sharedWorkspace.notificationCenter
        addObserver:self
           selector:@selector(wishesChanged:)
               name:NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification
             object:nil];
    return self;
}

- (void)stop {
    [NSApplication.sharedApplication removeObserver:self forKeyPath:@"effectiveAppearance"];
    [NSNotificationCenter.defaultCenter removeObserver:self];
    [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:self];
}

- (void)observeValueForKeyPath:(NSString*)__unused keyPath
                      ofObject:(id)__unused object
                        change:(NSDictionary*)__unused change
                       context:(void*)__unused context {
    _changed();
}

- (void)wishesChanged:(NSNotification*)__unused notification {
    _changed();
}

@end

namespace velto {

struct SystemAppearance::Observation {
    VeltoAppearanceObserver* observer;
};

SystemAppearance::SystemAppearance(std::function<void()> changed)
    : observation_(std::make_unique<Observation>(Observation{[[VeltoAppearanceObserver alloc] init]})) {
    observation_->observer.changed = std::move(changed);
}

SystemAppearance::~SystemAppearance() { [observation_->observer stop]; }

bool SystemAppearance::isDark() const {
    NSAppearance* appearance = NSApplication.sharedApplication.effectiveAppearance;
    NSAppearanceName best =
        [appearance bestMatchFromAppearancesWithNames:@[ NSAppearanceNameAqua, NSAppearanceNameDarkAqua ]];
    return [best isEqualToString:NSAppearanceNameDarkAqua];
}

SystemAppearance::Color SystemAppearance::accent() const {
    NSColor* color = [NSColor.controlAccentColor colorUsingColorSpace:NSColorSpace.sRGBColorSpace];
    return {color.redComponent, color.greenComponent, color.blueComponent};
}

bool SystemAppearance::reducesMotion() const {
    return NSWorkspace.sharedWorkspace.accessibilityDisplayShouldReduceMotion;
}

} // namespace velto
