#include "Tests/Fuzz/FuzzTarget.h"

#include "Platform/Linux/PipeWire/PipeWireText.h"
#include "VeltoCore/Recovery/RecoveryState.h"

#include <string>

namespace velto {

/// The name of a device: what is stored of it leads back to it.
void fuzz(std::string_view name) {
    RecoveryState record;
    record.firstDeviceUID = PipeWireText::fromServer(name);
    const auto stored = decodeRecoveryState(encodeRecoveryState(record).value());
    require(stored.has_value() && PipeWireText::toServer(stored->firstDeviceUID) == name);
}

} // namespace velto
