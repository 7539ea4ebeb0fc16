// FakeCoreFoundation: CoreFoundation objects whose references are counted, for tests of the HAL client.
//
// Behaves like the platform where the client could go wrong: strings are measured in UTF-16 units, containers
// retain only when told to. An object that lost its last reference stays known, so that every later use of it
// is a fault with a name. Faults are collected, never fatal; the fixture reads them. RealCoreFoundation.cpp
// has the same over the platform's own library, where that is to be had.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto::fake {

// New objects, with one reference that belongs to the caller. Containers take over their elements'
// references.
CFTypeRef string(std::string_view utf8);
CFTypeRef string(std::u16string units);
CFTypeRef number(std::int64_t value);
CFTypeRef number(double value);
CFTypeRef boolean(bool value);
/// An object of a type that the client knows nothing of.
CFTypeRef data();
CFTypeRef array(std::vector<CFTypeRef> elements);
CFTypeRef dictionary(std::vector<std::pair<CFTypeRef, CFTypeRef>> entries);

/// A string in UTF-8.
std::string text(CFTypeRef string);
/// Any object as text, entries in the order of their keys: `{"a": 1, "b": [2.5, true, "c"]}`.
std::string described(CFTypeRef object);

/// The objects that still have references, each as text.
std::vector<std::string> liveObjects();
/// What was done wrong since the last reset, such as the release of a dead object.
std::vector<std::string> coreFoundationFaults();
/// Forgets all objects and faults.
void resetCoreFoundation();

} // namespace velto::fake
