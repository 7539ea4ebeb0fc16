#include "Platform/Linux/PipeWire/PipeWireRecording.h"

#include "Platform/Linux/PipeWire/PipeWireText.h"

#include <algorithm>
#include <cmath>
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
    : uid_(std::move(uid)), sampleRate_(static_cast<std::uint32_t>(std::lround(sampleRate))),
      capacity_(static_cast<std::size_t>(longestSeconds * sampleRate)),
      samples_(std::make_unique_for_overwrite<float[]>(capacity_)), graph_([this] { look(); }),
      stream_(watcher, remote) {
    openStream();
    registry_ = pw_core_get_registry(stream_.core(), PW_VERSION_REGISTRY, 0);
    graph_.attach(stream_.core(), registry_);
}

PipeWireRecording::~PipeWireRecording() {
    graph_.detach();
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
}

void PipeWireRecording::openStream() {
    // An input that goes is not to be replaced by another one.
    pw_properties* properties =
        pw_properties_new(PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_NODE_NAME, "velto.alignment",
                          PW_KEY_NODE_DONT_RECONNECT, "true", nullptr);
    if (!uid_.empty()) pw_properties_set(properties, "target.object", PipeWireText::toServer(uid_).c_str());
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = sampleRate_;
    format.channels = 1;
    format.position[0] = SPA_AUDIO_CHANNEL_MONO;
    stream_.open(PW_DIRECTION_INPUT, "Align with Microphone", properties, Events::stream, this, format);
}

/// Which input is heard, by the links.
void PipeWireRecording::look() {
    const std::uint32_t node = stream_.node();
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
    pw_buffer* const buffer = stream_.takeBuffer();
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
    stream_.giveBack(buffer);
}

} // namespace velto
