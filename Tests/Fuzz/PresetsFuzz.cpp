#include "Tests/Fuzz/FuzzTarget.h"

#include "VeltoCore/Settings/AudioPreset.h"

namespace velto {

void fuzz(std::string_view text) {
    requireReadsBack(Data(text.begin(), text.end()), decodePresets, encodePresets);
}

} // namespace velto
