#import "Platform/macOS/SystemSymbol.h"

#import "Platform/macOS/FoundationText.h"

#import <AppKit/AppKit.h>

#include <algorithm>
#include <cstddef>

namespace velto {

namespace {

/// With as much space around as the drawings have that the program is shipped with.
NSRect centred(NSSize image, double width, double height) {
    constexpr double filled = 5.0 / 6;
    const double scale = filled * std::min(width / image.width, height / image.height);
    const NSSize size = NSMakeSize(image.width * scale, image.height * scale);
    return NSMakeRect((width - size.width) / 2, (height - size.height) / 2, size.width, size.height);
}

/// Drawn for the size that it is to have, and not made larger: thin lines would become thick ones. In one
/// colour: its layers would be of different strength.
NSImage* drawnFor(NSString* name, int side) {
    NSImageSymbolConfiguration* size =
        [NSImageSymbolConfiguration configurationWithPointSize:side weight:NSFontWeightRegular];
    NSImageSymbolConfiguration* color = [NSImageSymbolConfiguration configurationPreferringMonochrome];
    NSImage* symbol = [NSImage imageWithSystemSymbolName:name accessibilityDescription:nil];
    return [symbol imageWithSymbolConfiguration:[size configurationByApplyingConfiguration:color]];
}

} // namespace

std::vector<std::uint8_t> systemSymbolCoverage(std::string_view name, int width, int height) {
    if (width <= 0 || height <= 0) return {};
    @autoreleasepool {
        NSImage* symbol = drawnFor(platformText(name), std::min(width, height));
        if (!symbol) return {};
        const auto columns = static_cast<std::size_t>(width);
        const auto rows = static_cast<std::size_t>(height);
        std::vector<std::uint8_t> pixels(4 * columns * rows);
        CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
        CGContextRef context =
            CGBitmapContextCreate(pixels.data(), columns, rows, 8, 4 * columns, space,
                                  static_cast<CGBitmapInfo>(kCGImageAlphaPremultipliedLast));
        CGColorSpaceRelease(space);
        if (!context) return {};
        [NSGraphicsContext saveGraphicsState];
        NSGraphicsContext.currentContext = [NSGraphicsContext graphicsContextWithCGContext:context
                                                                                   flipped:NO];
        [symbol drawInRect:centred(symbol.size, width, height)];
        [NSGraphicsContext restoreGraphicsState];
        CGContextRelease(context);
        std::vector<std::uint8_t> coverage(columns * rows);
        for (std::size_t i = 0; i < coverage.size(); ++i)
            coverage[i] = pixels[4 * i + 3];
        return coverage;
    }
}

} // namespace velto
