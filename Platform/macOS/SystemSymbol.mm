#import "Platform/macOS/SystemSymbol.h"

#import "Platform/macOS/FoundationText.h"

#import <AppKit/AppKit.h>

#include <algorithm>
#include <cstddef>

namespace velto {

namespace {

NSRect centred(NSSize image, double width, double height) {
    const double scale = std::min(width / image.width, height / image.height);
    const NSSize size = NSMakeSize(image.width * scale, image.height * scale);
    return NSMakeRect((width - size.width) / 2, (height - size.height) / 2, size.width, size.height);
}

} // namespace

std::vector<std::uint8_t> systemSymbolCoverage(std::string_view name, int width, int height) {
    if (width <= 0 || height <= 0) return {};
    @autoreleasepool {
        NSImage* symbol = [NSImage imageWithSystemSymbolName:platformText(name) accessibilityDescription:nil];
        // Drawn for the size that it is to have, and not made larger: thin lines would become thick ones.
        symbol = [symbol imageWithSymbolConfiguration:[NSImageSymbolConfiguration
                                                          configurationWithPointSize:std::min(width, height)
                                                                              weight:NSFontWeightRegular]];
        if (!symbol) return {};
        std::vector<std::uint8_t> coverage(static_cast<std::size_t>(width) *
                                           static_cast<std::size_t>(height));
        CGContextRef context = CGBitmapContextCreate(
            coverage.data(), static_cast<std::size_t>(width), static_cast<std::size_t>(height), 8,
            static_cast<std::size_t>(width), nullptr, static_cast<CGBitmapInfo>(kCGImageAlphaOnly));
        if (!context) return {};
        [NSGraphicsContext saveGraphicsState];
        NSGraphicsContext.currentContext = [NSGraphicsContext graphicsContextWithCGContext:context
                                                                                   flipped:NO];
        [symbol drawInRect:centred(symbol.size, width, height)];
        [NSGraphicsContext restoreGraphicsState];
        CGContextRelease(context);
        return coverage;
    }
}

} // namespace velto
