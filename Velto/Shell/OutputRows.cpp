#include "Velto/Shell/OutputRows.h"

#include "Velto/Shell/DeviceIconProvider.h"

namespace velto {

namespace {

std::string badgeText(const AudioOutputDevice& device, int number) {
    const std::string text = device.isConnected ? device.transportType.displayName() : "Not connected";
    return number ? text + " · " + std::to_string(number) : text;
}

} // namespace

OutputRow OutputRow::of(const AudioOutputDevice& device, const OutputNames& names) {
    return {.uid = device.uid,
            .name = device.name,
            .shortName = names.shortened(device.name),
            .symbol = std::string(DeviceIconProvider::symbolName(device)),
            .badge = badgeText(device, names.number(device.uid)),
            .badgeSymbol = std::string(device.transportType.symbolName()),
            .isConnected = device.isConnected};
}

} // namespace velto
