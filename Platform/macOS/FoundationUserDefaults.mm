#import "Platform/macOS/FoundationUserDefaults.h"

#import "Platform/macOS/FoundationText.h"
#include "VeltoCore/Services/LoggingService.h"

#import <Foundation/Foundation.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <variant>

namespace velto {

namespace {

/// A list of properties has these types; absent for those that the program has no use for.
std::optional<DefaultsValue> valueOf(id object) {
    if ([object isKindOfClass:[NSString class]]) return DefaultsValue(textOf(object));
    if ([object isKindOfClass:[NSData class]]) {
        NSData* data = object;
        const auto* bytes = static_cast<const std::uint8_t*>(data.bytes);
        return DefaultsValue(Data(bytes, bytes + data.length));
    }
    if (![object isKindOfClass:[NSNumber class]]) return std::nullopt;
    NSNumber* number = object;
    // A Boolean is a number as well, of a type that only the C layer tells apart.
    if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID())
        return DefaultsValue(static_cast<bool>(number.boolValue));
    if (CFNumberIsFloatType((__bridge CFNumberRef)number)) return DefaultsValue(number.doubleValue);
    return DefaultsValue(static_cast<std::int64_t>(number.longLongValue));
}

struct ObjectOf {
    id operator()(bool value) const { return [NSNumber numberWithBool:value]; }
    id operator()(std::int64_t value) const { return [NSNumber numberWithLongLong:value]; }
    id operator()(double value) const { return [NSNumber numberWithDouble:value]; }
    id operator()(const std::string& value) const { return platformText(value); }
    id operator()(const Data& value) const { return [NSData dataWithBytes:value.data() length:value.size()]; }
};

} // namespace

struct FoundationUserDefaults::Store {
    NSUserDefaults* defaults;
};

FoundationUserDefaults::FoundationUserDefaults()
    : store_(std::make_unique<Store>(Store{NSUserDefaults.standardUserDefaults})) {}

FoundationUserDefaults::FoundationUserDefaults(std::string_view suiteName)
    : store_(std::make_unique<Store>(
          Store{[[NSUserDefaults alloc] initWithSuiteName:platformText(suiteName)]})) {}

FoundationUserDefaults::~FoundationUserDefaults() = default;

std::optional<DefaultsValue> FoundationUserDefaults::storedValue(std::string_view key) const {
    @autoreleasepool {
        return valueOf([store_->defaults objectForKey:platformText(key)]);
    }
}

void FoundationUserDefaults::set(std::string_view key, DefaultsValue value) {
    @autoreleasepool {
        // To the system 1, 1.0 and true are equal, and what is equal need not be stored again.
        if (const auto stored = storedValue(key); stored && stored->index() != value.index()) remove(key);
        [store_->defaults setObject:std::visit(ObjectOf{}, value) forKey:platformText(key)];
    }
}

void FoundationUserDefaults::remove(std::string_view key) {
    @autoreleasepool {
        [store_->defaults removeObjectForKey:platformText(key)];
    }
}

void FoundationUserDefaults::synchronize() {
    if (![store_->defaults synchronize])
        LoggingService::persistence.error("The settings could not be stored");
}

} // namespace velto
