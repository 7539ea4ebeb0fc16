// ClientLibrary: how every client of the sound server here begins.
#pragma once

#include <pipewire/pipewire.h>

#include <cstdlib>

namespace velto {

/// pw_init(), once for each pw_deinit(). Of what the library says by itself only errors are told: that it
/// loads less than usual is on purpose, and no news to whoever sees a terminal. PIPEWIRE_DEBUG tells all, as
/// usual.
inline void beginWithClientLibrary() {
    pw_init(nullptr, nullptr);
    if (!std::getenv("PIPEWIRE_DEBUG")) pw_log_set_level(SPA_LOG_LEVEL_ERROR);
}

} // namespace velto
