// StoredForm: how the value of a setting stands in the user's defaults.
//
// Pure. encode() answers none where nothing is to be stored, decode() where the stored value is none of the
// setting's.
#pragma once

#include "VeltoCore/Aggregate/ClockStrategy.h"
#include "VeltoCore/Aggregate/PreferredSampleRate.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Services/UserDefaults.h"
#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <optional>
#include <string>
#include <string_view>

namespace velto {

template <class T>
struct StoredForm;

template <>
struct StoredForm<bool> {
    static std::optional<DefaultsValue> encode(bool value) { return value; }
    static std::optional<bool> decode(const DefaultsValue& stored) { return asBool(stored); }
};

/// In Hz.
template <>
struct StoredForm<PreferredSampleRate> {
    static std::optional<DefaultsValue> encode(PreferredSampleRate rate) { return rawValue(rate); }
    static std::optional<PreferredSampleRate> decode(const DefaultsValue& stored) {
        return preferredSampleRate(asDouble(stored));
    }
};

/// By its raw value.
template <>
struct StoredForm<ClockStrategy> {
    static std::optional<DefaultsValue> encode(ClockStrategy strategy) {
        return std::string(rawValue(strategy));
    }
    static std::optional<ClockStrategy> decode(const DefaultsValue& stored) {
        return asText(stored).and_then(clockStrategy);
    }
};

/// By its raw value.
template <>
struct StoredForm<DisconnectBehavior> {
    static std::optional<DefaultsValue> encode(DisconnectBehavior behavior) {
        return std::string(rawValue(behavior));
    }
    static std::optional<DisconnectBehavior> decode(const DefaultsValue& stored) {
        return asText(stored).and_then(disconnectBehavior);
    }
};

template <>
struct StoredForm<std::optional<UUID>> {
    static std::optional<DefaultsValue> encode(const std::optional<UUID>& id) {
        return id.transform(&UUID::string);
    }
    static std::optional<std::optional<UUID>> decode(const DefaultsValue& stored) {
        return asText(stored).transform(UUID::fromString);
    }
};

/// The UID of an output; empty reads as none.
template <>
struct StoredForm<std::optional<std::string>> {
    static std::optional<DefaultsValue> encode(const std::optional<std::string>& uid) { return uid; }
    static std::optional<std::optional<std::string>> decode(const DefaultsValue& stored);
};

/// From 0 to 1; what lies outside reads as the nearest end.
struct StoredVolume {
    static std::optional<DefaultsValue> encode(float volume) { return static_cast<double>(volume); }
    static std::optional<float> decode(const DefaultsValue& stored);
};

/// Stored without blanks at its ends, and as the default name when nothing is left.
struct StoredOutputName {
    static std::string effective(std::string_view typed);
    static std::optional<DefaultsValue> encode(const std::string& typed) { return effective(typed); }
    static std::optional<std::string> decode(const DefaultsValue& stored) { return asText(stored); }
};

} // namespace velto
