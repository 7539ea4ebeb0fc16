#include "Tests/Fuzz/FuzzTarget.h"

#include "VeltoCore/Sync/SyncProfile.h"

namespace velto {

void fuzz(std::string_view text) {
    requireReadsBack(Data(text.begin(), text.end()), decodeSyncProfiles, encodeSyncProfiles);
}

} // namespace velto
