#include "Platform/Linux/PipeWire/PipeWireComposition.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace velto {

using nlohmann::json;

namespace {

/// Empty unless there is a text under the key.
std::string textOf(const json& object, std::string_view key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

/// False unless there is a true under the key.
bool flagOf(const json& object, std::string_view key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() && found->get<bool>();
}

} // namespace

std::string PipeWireComposition::text(const AggregateDeviceDescription& description) {
    json subDevices = json::array();
    for (const auto& subDevice : description.subDevices)
        subDevices.push_back({{CompositionKey::uid, subDevice.uid},
                              {CompositionKey::driftCompensation, subDevice.driftCompensation}});
    const json composition = {{CompositionKey::uid, description.uid},
                              {CompositionKey::name, description.name},
                              {CompositionKey::subDevices, std::move(subDevices)},
                              {CompositionKey::mainSubDevice, description.mainSubDeviceUID},
                              {CompositionKey::isStacked, description.isStacked},
                              {CompositionKey::isPrivate, description.isPrivate}};
    constexpr bool isPlain = true; // so that no text of it is another on the server's side
    return composition.dump(-1, ' ', isPlain, json::error_handler_t::replace);
}

AggregateDeviceDescription PipeWireComposition::read(std::string_view text) {
    AggregateDeviceDescription result;
    const json composition = json::parse(text, nullptr, false);
    if (!composition.is_object()) return result;
    result.mainSubDeviceUID = textOf(composition, CompositionKey::mainSubDevice);
    result.isStacked = flagOf(composition, CompositionKey::isStacked);
    result.isPrivate = flagOf(composition, CompositionKey::isPrivate);
    const auto subDevices = composition.find(CompositionKey::subDevices);
    if (subDevices == composition.end() || !subDevices->is_array()) return result;
    for (const json& entry : *subDevices)
        if (entry.is_object())
            result.subDevices.push_back(
                {textOf(entry, CompositionKey::uid), flagOf(entry, CompositionKey::driftCompensation)});
    return result;
}

} // namespace velto
