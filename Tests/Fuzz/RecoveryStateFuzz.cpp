#include "Tests/Fuzz/FuzzTarget.h"

#include "VeltoCore/Recovery/RecoveryState.h"

namespace velto {

void fuzz(std::string_view text) {
    requireReadsBack(Data(text.begin(), text.end()), decodeRecoveryState, encodeRecoveryState);
}

} // namespace velto
