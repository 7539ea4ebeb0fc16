#include "Tests/Fuzz/FuzzTarget.h"

#include "Platform/Linux/PipeWire/PipeWireComposition.h"

#include <string>

namespace velto {

void fuzz(std::string_view text) {
    const AggregateDeviceDescription read = PipeWireComposition::read(text);
    require(PipeWireComposition::read(PipeWireComposition::text(read)) == read);

    // Names come from devices and users: whatever they are, a text can be made of them.
    const std::string name(text);
    const std::string composition = PipeWireComposition::text(
        {.uid = name, .name = name, .subDevices = {{name, true}}, .mainSubDeviceUID = name});
    require(PipeWireComposition::read(composition).subDevices.size() == 1);
}

} // namespace velto
