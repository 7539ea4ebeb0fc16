#include "Tests/HAL/FakeCoreFoundation.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>

namespace velto::fake {

namespace {

enum Type : CFTypeID { stringType = 1, numberType, booleanType, arrayType, dictionaryType, dataType };

struct Object {
    Type type;
    long references = 1;
    std::u16string units = {};           // a string's
    std::int64_t integer = 0;            // a number's or Boolean's
    std::optional<double> floating = {}; // a number's that is not whole
    std::vector<CFTypeRef> values = {};  // a container's
    std::vector<CFTypeRef> keys = {};
    bool retainsElements = true;
};

struct Table {
    std::map<CFTypeRef, std::unique_ptr<Object>> objects;
    std::vector<std::string> faults;
};
Table table;

Object* add(Object object) {
    auto owned = std::make_unique<Object>(std::move(object));
    Object* result = owned.get();
    table.objects.emplace(result, std::move(owned));
    return result;
}

/// The object if it lives; a fault and a stand-in if it doesn't.
Object& live(CFTypeRef reference, const char* use) {
    static Object nobody{dataType};
    const auto found = table.objects.find(reference);
    if (found != table.objects.end() && found->second->references > 0) return *found->second;
    const bool isDead = found != table.objects.end();
    table.faults.push_back(fmt::format("{} of {}", use,
                                       !reference ? "null"
                                       : isDead   ? "a dead object"
                                                  : "no object at all"));
    return nobody = Object{dataType};
}

Object& live(CFTypeRef reference, Type type, const char* use) {
    Object& object = live(reference, use);
    if (object.type != type) table.faults.push_back(fmt::format("{} of an object of another type", use));
    return object;
}

/// Nothing for bytes that are not UTF-8.
std::optional<std::u16string> decoded(std::string_view utf8) {
    std::u16string units;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i++]);
        const int following = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : -1;
        if (following < 0) return std::nullopt;
        char32_t character = following == 0 ? lead : lead & (0x3F >> following);
        for (int k = 0; k < following; ++k) {
            if (i == utf8.size() || (utf8[i] & 0xC0) != 0x80) return std::nullopt;
            character = (character << 6) | (utf8[i++] & 0x3F);
        }
        if (character >= 0x10000) {
            units += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
        } else {
            units += static_cast<char16_t>(character);
        }
    }
    return units;
}

std::string encoded(char32_t c) {
    const auto tail = [c](int shift) { return static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
    if (c < 0x80) return {static_cast<char>(c)};
    if (c < 0x800) return {static_cast<char>(0xC0 | (c >> 6)), tail(0)};
    if (c < 0x10000) return {static_cast<char>(0xE0 | (c >> 12)), tail(6), tail(0)};
    return {static_cast<char>(0xF0 | (c >> 18)), tail(12), tail(6), tail(0)};
}

/// One character at a time, up to half a surrogate pair.
std::vector<std::string> characters(std::u16string_view units) {
    std::vector<std::string> result;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char16_t unit = units[i];
        const bool isHigh = unit >= 0xD800 && unit < 0xDC00;
        const bool isLow = unit >= 0xDC00 && unit < 0xE000;
        if (isHigh && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000) {
            const char16_t low = units[++i];
            result.push_back(encoded(0x10000 + ((unit - 0xD800u) << 10) + (low - 0xDC00u)));
        } else if (!isHigh && !isLow) {
            result.push_back(encoded(unit));
        } else {
            break;
        }
    }
    return result;
}

void retainElements(Object& container, bool retains) {
    container.retainsElements = retains;
    if (!retains) return;
    for (const auto* elements : {&container.keys, &container.values})
        std::ranges::for_each(*elements, CFRetain);
}

} // namespace

CFTypeRef string(std::string_view utf8) { return string(decoded(utf8).value()); }
CFTypeRef string(std::u16string units) { return add({.type = stringType, .units = std::move(units)}); }
CFTypeRef number(std::int64_t value) { return add({.type = numberType, .integer = value}); }
CFTypeRef number(double value) {
    return add({.type = numberType, .integer = static_cast<std::int64_t>(value), .floating = value});
}
CFTypeRef boolean(bool value) { return add({.type = booleanType, .integer = value}); }
CFTypeRef data() { return add({.type = dataType}); }
CFTypeRef array(std::vector<CFTypeRef> elements) {
    return add({.type = arrayType, .values = std::move(elements)});
}
CFTypeRef dictionary(std::vector<std::pair<CFTypeRef, CFTypeRef>> entries) {
    Object* result = add({.type = dictionaryType});
    for (const auto& [key, value] : entries) {
        result->keys.push_back(key);
        result->values.push_back(value);
    }
    return result;
}

std::string text(CFTypeRef reference) {
    return fmt::format("{}", fmt::join(characters(live(reference, stringType, "text").units), ""));
}

std::string described(CFTypeRef reference) {
    const Object& object = live(reference, "description");
    std::vector<std::string> parts;
    switch (object.type) {
    case stringType:
        return fmt::format("\"{}\"", text(reference));
    case numberType:
        return object.floating ? fmt::format("{}", *object.floating) : fmt::format("{}", object.integer);
    case booleanType:
        return fmt::format("{}", object.integer != 0);
    case arrayType:
        std::ranges::transform(object.values, std::back_inserter(parts), described);
        return fmt::format("[{}]", fmt::join(parts, ", "));
    case dictionaryType:
        for (std::size_t i = 0; i < object.keys.size(); ++i)
            parts.push_back(fmt::format("{}: {}", described(object.keys[i]), described(object.values[i])));
        std::ranges::sort(parts);
        return fmt::format("{{{}}}", fmt::join(parts, ", "));
    case dataType:
        break;
    }
    return "<data>";
}

std::vector<std::string> liveObjects() {
    std::vector<std::string> result;
    for (const auto& [reference, object] : table.objects) {
        if (object->references > 0) result.push_back(described(reference));
    }
    return result;
}

std::vector<std::string> coreFoundationFaults() { return table.faults; }
void resetCoreFoundation() { table = {}; }

} // namespace velto::fake

using namespace velto::fake;

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFArrayCallBacks kCFTypeArrayCallBacks{};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{};

CFTypeRef CFRetain(CFTypeRef object) {
    ++live(object, "retain").references;
    return object;
}

void CFRelease(CFTypeRef object) {
    Object& released = live(object, "release");
    if (--released.references > 0 || !released.retainsElements) return;
    for (const auto* elements : {&released.keys, &released.values})
        std::ranges::for_each(*elements, CFRelease);
}

CFTypeID CFGetTypeID(CFTypeRef object) { return live(object, "type").type; }
CFTypeID CFStringGetTypeID(void) { return stringType; }
CFTypeID CFNumberGetTypeID(void) { return numberType; }
CFTypeID CFBooleanGetTypeID(void) { return booleanType; }
CFTypeID CFArrayGetTypeID(void) { return arrayType; }
CFTypeID CFDictionaryGetTypeID(void) { return dictionaryType; }

CFIndex CFStringGetLength(CFStringRef string) {
    return static_cast<CFIndex>(live(string, stringType, "length").units.size());
}

/// As the system has it: to UTF-8 the loss byte means nothing, and half a surrogate pair ends the conversion.
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding, UInt8, Boolean, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen) {
    const std::u16string_view units = live(string, stringType, "bytes").units;
    CFIndex used = 0;
    CFIndex converted = 0;
    for (const std::string& character : characters(units.substr(static_cast<std::size_t>(range.location),
                                                                static_cast<std::size_t>(range.length)))) {
        const auto size = static_cast<CFIndex>(character.size());
        if (buffer && used + size > maxBufLen) break;
        if (buffer) std::ranges::copy(character, buffer + used);
        used += size;
        converted += size == 4 ? 2 : 1; // units
    }
    if (usedBufLen) *usedBufLen = used;
    return converted;
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex numBytes, CFStringEncoding,
                                    Boolean) {
    const auto units = decoded({reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(numBytes)});
    return units ? static_cast<CFStringRef>(string(*units)) : nullptr;
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return live(number, numberType, "kind").floating.has_value();
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    const Object& object = live(number, numberType, "value");
    if (type == kCFNumberDoubleType)
        *static_cast<double*>(value) = object.floating.value_or(static_cast<double>(object.integer));
    else
        *static_cast<std::int64_t*>(value) = object.integer;
    return true;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
    return static_cast<CFNumberRef>(type == kCFNumberDoubleType
                                        ? number(*static_cast<const double*>(value))
                                        : number(*static_cast<const std::int64_t*>(value)));
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) { return live(boolean, booleanType, "value").integer != 0; }

CFIndex CFArrayGetCount(CFArrayRef array) {
    return static_cast<CFIndex>(live(array, arrayType, "count").values.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    return live(array, arrayType, "element").values.at(static_cast<std::size_t>(index));
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex numValues,
                         const CFArrayCallBacks* callBacks) {
    Object* result = add({.type = arrayType});
    result->values.assign(values, values + numValues);
    retainElements(*result, callBacks != nullptr);
    return reinterpret_cast<CFArrayRef>(result);
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
    return static_cast<CFIndex>(live(dictionary, dictionaryType, "count").values.size());
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys, const void** values) {
    const Object& object = live(dictionary, dictionaryType, "entries");
    std::ranges::copy(object.keys, keys);
    std::ranges::copy(object.values, values);
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values, CFIndex numValues,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
    Object* result = add({.type = dictionaryType});
    result->keys.assign(keys, keys + numValues);
    result->values.assign(values, values + numValues);
    retainElements(*result, keyCallBacks && valueCallBacks);
    return reinterpret_cast<CFDictionaryRef>(result);
}
}
