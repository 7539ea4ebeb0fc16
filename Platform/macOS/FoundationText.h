// Text between the program (UTF-8) and the platform's frameworks. For the sources of this folder only.
#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <string_view>

namespace velto {

/// Never nil: bytes that are no UTF-8 are taken for Latin-1, so that foreign text does no harm.
inline NSString* platformText(std::string_view text) {
    NSString* utf8 = [[NSString alloc] initWithBytes:text.data()
                                              length:text.size()
                                            encoding:NSUTF8StringEncoding];
    if (utf8) return utf8;
    return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSISOLatin1StringEncoding];
}

/// Empty for nil. Half a surrogate pair, which UTF-8 has no form of, becomes a question mark.
inline std::string textOf(NSString* text) {
    NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    if (bytes.length == 0) return {};
    return {static_cast<const char*>(bytes.bytes), bytes.length};
}

} // namespace velto
