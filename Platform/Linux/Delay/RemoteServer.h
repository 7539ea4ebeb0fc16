// RemoteServer: how every client of the sound server finds it.
#pragma once

#include <pipewire/pipewire.h>

#include <string>

namespace velto {

/// Connects to the server with that socket, by name or absolute path; empty for the user's own. Null, and
/// errno, where it can't be reached.
inline pw_core* connectTo(const std::string& remote, pw_context* context) {
    pw_properties* properties = pw_properties_new(nullptr, nullptr);
    if (!remote.empty()) pw_properties_set(properties, PW_KEY_REMOTE_NAME, remote.c_str());
    return pw_context_connect(context, properties, 0);
}

} // namespace velto
