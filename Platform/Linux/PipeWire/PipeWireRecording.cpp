#include "Platform/Linux/PipeWire/PipeWireRecording.h"

#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

/// More than any measurement takes. Memory that is not written to is none.
constexpr double longestSeconds = 30;
constexpr double levelSeconds = 0.1;

} // namespace

struct PipeWireRecording::Events {
    static PipeWireRecording& recording(void* data) { return *static_cast<PipeWireRecording*>(data); }

    static constexpr pw_stream_events stream = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
            recording(data).stateChanged(state);
        };
        table.process = [](void* data) { recording(data).process(); };
        return table;
    }();
};

PipeWireRecording::PipeWireRecording(FileDescriptorWatcher& watcher, const std::string& remote,
                                     std::string uid, double sampleRate)
    : watcher_(watcher), uid_(std::move(uid)),
      sampleRate_(static_cast<std::uint32_t>(std::lround(sampleRate))),
      capacity_(static_cast<std::size_t>(longestSeconds * sampleRate)),
      samples_(std::make_unique_for_overwrite<float[]>(capacity_)), graph_([this] { look(); }) {
    try {
        connect(remote);
        openStream();
    } catch (...) {
        close();
        throw;
    }
    watcher_.watchReadable(pw_loop_get_fd(loop_), [this] { serve(); });
}

PipeWireRecording::~PipeWireRecording() {
    watcher_.unwatch(pw_loop_get_fd(loop_));
    close();
}

void PipeWireRecording::close() {
    if (stream_) {
        spa_hook_remove(&hook_); // its end is no news
        pw_stream_destroy(std::exchange(stream_, nullptr));
    }
    if (registry_) {
        graph_.detach();
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
    }
    if (core_) pw_core_disconnect(core_);
    if (context_) pw_context_destroy(context_); // ends the audio thread
    if (loop_) pw_loop_destroy(loop_);
}

void PipeWireRecording::connect(const std::string& remote) {
    loop_ = pw_loop_new(nullptr);
    if (loop_) context_ = pw_context_new(loop_, nullptr, 0);
    if (!context_) throw std::runtime_error("The sound server's client library could not start.");
    pw_properties* properties = pw_properties_new(nullptr, nullptr);
    if (!remote.empty()) pw_properties_set(properties, PW_KEY_REMOTE_NAME, remote.c_str());
    core_ = pw_context_connect(context_, properties, 0);
    if (!core_) throw std::runtime_error("The sound server can't be reached.");
    registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
    graph_.attach(core_, registry_);
}

void PipeWireRecording::openStream() {
    // An input that goes is not to be replaced by another one.
    pw_properties* properties = pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Test",
        PW_KEY_APP_NAME, "Velto", PW_KEY_NODE_NAME, "velto.alignment", PW_KEY_NODE_DONT_RECONNECT, "true",
        "state.restore-props", "false", "state.restore-target", "false", nullptr);
    if (!uid_.empty()) pw_properties_set(properties, "target.object", uid_.c_str());
    stream_ = pw_stream_new(core_, "Align with Microphone", properties);
    if (!stream_) throw std::runtime_error("The sound server's stream could not be made.");
    pw_stream_add_listener(stream_, &hook_, &Events::stream, this);
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = sampleRate_;
    format.channels = 1;
    format.position[0] = SPA_AUDIO_CHANNEL_MONO;
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                    PW_STREAM_FLAG_RT_PROCESS);
    if (pw_stream_connect(stream_, PW_DIRECTION_INPUT, PW_ID_ANY, flags, &parameter, 1) < 0)
        throw std::runtime_error("The sound server's stream could not be connected.");
}

void PipeWireRecording::serve() {
    pw_loop_enter(loop_);
    pw_loop_iterate(loop_, 0);
    pw_loop_leave(loop_);
}

/// Which input is heard, by the links.
void PipeWireRecording::look() {
    const std::uint32_t node = stream_ ? pw_stream_get_node_id(stream_) : SPA_ID_INVALID;
    if (node == SPA_ID_INVALID || trouble_) return;
    bool isLinked = false;
    for (const auto& entry : graph_.links()) {
        if (entry.second.inputNode != node) continue;
        isLinked = true;
        const PipeWireNode* const device = graph_.deviceBehind(entry.second.outputNode);
        // What an output plays is linked from the output itself.
        if (!device || device->isSink() || (!uid_.empty() && device->name() != uid_)) {
            trouble_ = Trouble::anotherInput;
            return;
        }
        input_ = device->displayName();
    }
    if (!isLinked && !input_.empty()) trouble_ = Trouble::ended;
}

void PipeWireRecording::stateChanged(pw_stream_state state) {
    const bool isOver = state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED;
    if (isOver && !trouble_) trouble_ = Trouble::ended;
}

float PipeWireRecording::level() const {
    const std::size_t end = count_.load(std::memory_order_acquire);
    const auto wanted = static_cast<std::size_t>(levelSeconds * sampleRate_);
    float level = 0;
    for (std::size_t i = end - std::min(end, wanted); i < end; ++i)
        level = std::max(level, std::abs(samples_[i]));
    return std::min(level, 1.0F);
}

std::vector<float> PipeWireRecording::take() {
    const std::size_t end = count_.load(std::memory_order_acquire);
    std::vector<float> result(samples_.get() + taken_, samples_.get() + end);
    std::fill(samples_.get() + taken_, samples_.get() + end, 0.0F);
    taken_ = end;
    return result;
}

void PipeWireRecording::process() { // on the audio thread
    pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_);
    if (!buffer) return;
    const spa_data& data = buffer->buffer->datas[0];
    const std::size_t count = count_.load(std::memory_order_relaxed);
    if (data.data && data.chunk->offset <= data.maxsize) {
        const std::size_t size = std::min(data.chunk->size, data.maxsize - data.chunk->offset);
        const auto* const heard =
            reinterpret_cast<const float*>(static_cast<const std::byte*>(data.data) + data.chunk->offset);
        const std::size_t frames = std::min(size / sizeof(float), capacity_ - count);
        std::copy_n(heard, frames, samples_.get() + count);
        count_.store(count + frames, std::memory_order_release);
    }
    pw_stream_queue_buffer(stream_, buffer);
}

} // namespace velto
