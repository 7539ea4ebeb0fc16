#include "Platform/Linux/PipeWire/PipeWireStream.h"

#include "Platform/Linux/Delay/AudioThread.h"
#include "Platform/Linux/Delay/RemoteServer.h"

#include <spa/param/audio/format-utils.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace velto {

namespace {

/// Fails with what the C library knows of the last call.
[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

} // namespace

PipeWireStream::PipeWireStream(FileDescriptorWatcher& watcher, const std::string& remote)
    : watcher_(watcher) {
    try {
        connect(remote);
    } catch (...) {
        close();
        throw;
    }
    watcher_.watchReadable(pw_loop_get_fd(loop_), [this] {
        pw_loop_enter(loop_);
        pw_loop_iterate(loop_, 0);
        pw_loop_leave(loop_);
    });
}

PipeWireStream::~PipeWireStream() {
    watcher_.unwatch(pw_loop_get_fd(loop_));
    close();
}

void PipeWireStream::close() noexcept {
    if (stream_) {
        spa_hook_remove(&hook_); // its end is no news
        pw_stream_destroy(stream_);
    }
    if (core_) pw_core_disconnect(core_);
    if (context_) {
        stopAudioThread(context_);
        pw_context_destroy(context_);
    }
    if (loop_) pw_loop_destroy(loop_);
}

void PipeWireStream::connect(const std::string& remote) {
    loop_ = pw_loop_new(nullptr);
    if (loop_) context_ = pw_context_new(loop_, nullptr, 0);
    if (!context_) fail("The sound server's client library could not start");
    core_ = connectTo(remote, context_);
    if (!core_) fail("The sound server can't be reached");
}

void PipeWireStream::open(pw_direction direction, const char* title, pw_properties* properties,
                          const pw_stream_events& events, void* listener, spa_audio_info_raw format) {
    // The session manager shall neither remember a volume or a target for the stream, where it can be told so
    // (0.4.13 can't), nor take it for music.
    for (const auto& [key, value] : {std::pair{PW_KEY_MEDIA_TYPE, "Audio"},
                                     {PW_KEY_MEDIA_ROLE, "Test"},
                                     {PW_KEY_APP_NAME, "Velto"},
                                     {"state.restore-props", "false"},
                                     {"state.restore-target", "false"}})
        pw_properties_set(properties, key, value);
    stream_ = pw_stream_new(core_, title, properties);
    if (!stream_) fail("The sound server's stream could not be made");
    pw_stream_add_listener(stream_, &hook_, &events, listener);
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                    PW_STREAM_FLAG_RT_PROCESS);
    const int result = pw_stream_connect(stream_, direction, PW_ID_ANY, flags, &parameter, 1);
    if (result >= 0) return;
    errno = -result;
    fail("The sound server's stream could not be connected");
}

std::uint32_t PipeWireStream::node() const {
    return stream_ ? pw_stream_get_node_id(stream_) : SPA_ID_INVALID;
}

} // namespace velto
