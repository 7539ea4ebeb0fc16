#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"

#include <utility>

namespace velto {

namespace {

std::string key(std::string_view name) { return std::string(name); }
CompositionValue flag(bool value) { return {std::int64_t{value ? 1 : 0}}; }

} // namespace

CompositionDictionary AggregateDeviceDescription::dictionaryRepresentation() const {
    CompositionArray entries;
    entries.reserve(subDevices.size());
    for (const SubDevice& subDevice : subDevices) {
        entries.push_back({CompositionDictionary{
            {key(CompositionKey::uid), {subDevice.uid}},
            {key(CompositionKey::driftCompensation), flag(subDevice.driftCompensation)},
        }});
    }
    return {
        {key(CompositionKey::uid), {uid}},
        {key(CompositionKey::name), {name}},
        {key(CompositionKey::subDevices), {std::move(entries)}},
        {key(CompositionKey::mainSubDevice), {mainSubDeviceUID}},
        {key(CompositionKey::isStacked), flag(isStacked)},
        {key(CompositionKey::isPrivate), flag(isPrivate)},
    };
}

} // namespace velto
