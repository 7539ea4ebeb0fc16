#include "Tests/Fuzz/FuzzTarget.h"

#include "Platform/Linux/PipeWire/PipeWireStoredName.h"

#include <string>

namespace velto {

void fuzz(std::string_view text) {
    // The server's texts have no zero in them.
    const std::string stored(text.substr(0, text.find('\0')));
    if (const auto name = PipeWireStoredName::read(stored))
        require(PipeWireStoredName::read(PipeWireStoredName::text(*name)) == *name);
    require(PipeWireStoredName::read(PipeWireStoredName::text(stored)) == stored);
}

} // namespace velto
