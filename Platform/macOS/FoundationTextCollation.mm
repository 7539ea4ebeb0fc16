#import "Platform/macOS/FoundationTextCollation.h"

#import "Platform/macOS/FoundationText.h"

#import <Foundation/Foundation.h>

namespace velto {

int FoundationTextCollation::compare(std::string_view first, std::string_view second) const {
    @autoreleasepool {
        return static_cast<int>([platformText(first) localizedStandardCompare:platformText(second)]);
    }
}

} // namespace velto
