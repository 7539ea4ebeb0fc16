#include "Velto/Shell/OutputRows.h"

#include "Velto/Shell/DeviceIconProvider.h"

namespace velto {

OutputRow OutputRow::of(const AudioOutputDevice& device) {
    return {.uid = device.uid,
            .name = device.name,
            .symbol = std::string(DeviceIconProvider::symbolName(device)),
            .badge = device.isConnected ? device.transportType.displayName() : "Not connected",
            .badgeSymbol = std::string(device.transportType.symbolName()),
            .isConnected = device.isConnected};
}

} // namespace velto
