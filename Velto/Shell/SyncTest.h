// The click by which one hears whether outputs are in step, as the user has set it.
#pragma once

#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"

namespace velto {

/// Six seconds, two clicks a second.
inline void startSyncTest(SyncTestPlayer& player, const PreferencesManager& preferences) {
    player.start(preferences.syncTestVolume(), 6.0, 0.5);
}

} // namespace velto
