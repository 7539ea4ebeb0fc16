// PipeWireStream: a stream of the sound server with a connection of its own.
//
// Owned by what plays or records; used on the main actor, where its loop is served. Only the process event
// comes on the audio thread, which ends with this object. What is meant for the session manager, to remember
// neither volume nor target of the stream, is said here for all.
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/raw.h>

#include <cstdint>
#include <string>

namespace velto {

class PipeWireStream {
  public:
    /// Connects to the server. `remote` is its socket, empty for the user's own. Throws std::runtime_error
    /// with a sentence without its end.
    PipeWireStream(FileDescriptorWatcher& watcher, const std::string& remote);
    PipeWireStream(const PipeWireStream&) = delete;
    PipeWireStream& operator=(const PipeWireStream&) = delete;
    ~PipeWireStream();

    /// Opens the stream, once. Takes the properties over, which say its name and purpose. `events` tell
    /// `listener`, which outlives this. Throws std::runtime_error with
    /// a sentence without its end.
    void open(pw_direction direction, const char* title, pw_properties* properties,
              const pw_stream_events& events, void* listener, spa_audio_info_raw format);

    pw_core* core() const noexcept { return core_; }
    /// Of the stream, once the server knows it; SPA_ID_INVALID before.
    std::uint32_t node() const;
    /// None when there is nothing to fill or to take; else to be given back. On the audio thread.
    pw_buffer* takeBuffer() noexcept { return pw_stream_dequeue_buffer(stream_); }
    void giveBack(pw_buffer* buffer) noexcept { pw_stream_queue_buffer(stream_, buffer); }

  private:
    void connect(const std::string& remote);
    void close() noexcept;

    FileDescriptorWatcher& watcher_;
    pw_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_stream* stream_ = nullptr;
    spa_hook hook_{};
};

} // namespace velto
