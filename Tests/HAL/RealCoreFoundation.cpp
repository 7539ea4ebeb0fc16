// What FakeCoreFoundation.h declares, over the platform's own library: each allocation of the default
// allocator is counted. What the library keeps for itself (small numbers, descriptions of its types) it takes
// from others.
#include "Tests/HAL/FakeCoreFoundation.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdlib>
#include <map>

namespace velto::fake {

namespace {

/// Sizes of what is allocated, by place.
std::map<const void*, CFIndex> allocations;

void* allocate(CFIndex size, CFOptionFlags, void*) {
    void* place = std::malloc(static_cast<std::size_t>(size));
    allocations.emplace(place, size);
    return place;
}

void deallocate(void* place, void*) {
    allocations.erase(place);
    std::free(place);
}

void* reallocate(void* place, CFIndex size, CFOptionFlags, void*) {
    allocations.erase(place);
    void* moved = std::realloc(place, static_cast<std::size_t>(size));
    allocations.emplace(moved, size);
    return moved;
}

/// From now on all that is made without an allocator, or with the default one.
[[maybe_unused]] const bool isCounting = [] {
    CFAllocatorContext context{};
    context.allocate = allocate;
    context.reallocate = reallocate;
    context.deallocate = deallocate;
    CFAllocatorSetDefault(CFAllocatorCreate(kCFAllocatorSystemDefault, &context));
    return true;
}();

std::vector<const void*> entries(CFTypeRef dictionary, bool keys) {
    const auto of = static_cast<CFDictionaryRef>(dictionary);
    std::vector<const void*> result(static_cast<std::size_t>(CFDictionaryGetCount(of)));
    CFDictionaryGetKeysAndValues(of, keys ? result.data() : nullptr, keys ? nullptr : result.data());
    return result;
}

std::string numberText(CFNumberRef number) {
    double floating = 0;
    std::int64_t whole = 0;
    if (CFNumberIsFloatType(number)) {
        CFNumberGetValue(number, kCFNumberDoubleType, &floating);
        return fmt::format("{}", floating);
    }
    CFNumberGetValue(number, kCFNumberSInt64Type, &whole);
    return fmt::format("{}", whole);
}

} // namespace

CFTypeRef string(std::string_view utf8) {
    return CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(utf8.data()),
                                   static_cast<CFIndex>(utf8.size()), kCFStringEncodingUTF8, false);
}
CFTypeRef string(std::u16string units) {
    return CFStringCreateWithCharacters(nullptr, reinterpret_cast<const UniChar*>(units.data()),
                                        static_cast<CFIndex>(units.size()));
}
CFTypeRef number(std::int64_t value) { return CFNumberCreate(nullptr, kCFNumberSInt64Type, &value); }
CFTypeRef number(double value) { return CFNumberCreate(nullptr, kCFNumberDoubleType, &value); }
CFTypeRef boolean(bool value) { return CFRetain(value ? kCFBooleanTrue : kCFBooleanFalse); }
CFTypeRef data() { return CFDataCreate(nullptr, nullptr, 0); }

CFTypeRef array(std::vector<CFTypeRef> elements) {
    CFTypeRef result = CFArrayCreate(nullptr, elements.data(), static_cast<CFIndex>(elements.size()),
                                     &kCFTypeArrayCallBacks);
    std::ranges::for_each(elements, CFRelease);
    return result;
}

CFTypeRef dictionary(std::vector<std::pair<CFTypeRef, CFTypeRef>> pairs) {
    std::vector<CFTypeRef> keys;
    std::vector<CFTypeRef> values;
    for (const auto& [key, value] : pairs) {
        keys.push_back(key);
        values.push_back(value);
    }
    CFTypeRef result =
        CFDictionaryCreate(nullptr, keys.data(), values.data(), static_cast<CFIndex>(keys.size()),
                           &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    for (const auto* references : {&keys, &values})
        std::ranges::for_each(*references, CFRelease);
    return result;
}

std::string text(CFTypeRef object) {
    const auto string = static_cast<CFStringRef>(object);
    const CFRange whole{0, CFStringGetLength(string)};
    CFIndex size = 0;
    CFStringGetBytes(string, whole, kCFStringEncodingUTF8, 0, false, nullptr, 0, &size);
    std::string result(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(string, whole, kCFStringEncodingUTF8, 0, false, reinterpret_cast<UInt8*>(result.data()),
                     size, nullptr);
    return result;
}

std::string described(CFTypeRef object) {
    const CFTypeID type = CFGetTypeID(object);
    std::vector<std::string> parts;
    if (type == CFStringGetTypeID()) return fmt::format("\"{}\"", text(object));
    if (type == CFNumberGetTypeID()) return numberText(static_cast<CFNumberRef>(object));
    if (type == CFBooleanGetTypeID()) return object == kCFBooleanTrue ? "true" : "false";
    if (type == CFArrayGetTypeID()) {
        const auto array = static_cast<CFArrayRef>(object);
        for (CFIndex i = 0; i < CFArrayGetCount(array); ++i)
            parts.push_back(described(CFArrayGetValueAtIndex(array, i)));
        return fmt::format("[{}]", fmt::join(parts, ", "));
    }
    if (type != CFDictionaryGetTypeID()) return "<data>";
    const auto keys = entries(object, true);
    const auto values = entries(object, false);
    for (std::size_t i = 0; i < keys.size(); ++i)
        parts.push_back(fmt::format("{}: {}", described(keys[i]), described(values[i])));
    std::ranges::sort(parts);
    return fmt::format("{{{}}}", fmt::join(parts, ", "));
}

std::vector<std::string> liveObjects() {
    std::vector<std::string> result;
    for (const auto& [place, size] : allocations)
        result.push_back(fmt::format("{} bytes at {}", size, place));
    return result;
}

/// A dead object that is used is for AddressSanitizer.
std::vector<std::string> coreFoundationFaults() { return {}; }
void resetCoreFoundation() { allocations.clear(); }

} // namespace velto::fake
