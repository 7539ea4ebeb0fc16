#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"

#include "VeltoCore/Services/LoggingService.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

constexpr std::uint32_t channelCount = 2; // the server spreads stereo over any output

/// Fails with what the C library knows of the last call.
[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

spa_audio_info_raw format(double sampleRate) {
    if (!(sampleRate >= 1 && sampleRate <= 1e6)) throw std::runtime_error("The output has no sample rate.");
    spa_audio_info_raw result{};
    result.format = SPA_AUDIO_FORMAT_F32P;
    result.rate = static_cast<std::uint32_t>(std::lround(sampleRate));
    result.channels = channelCount;
    result.position[0] = SPA_AUDIO_CHANNEL_FL;
    result.position[1] = SPA_AUDIO_CHANNEL_FR;
    return result;
}

} // namespace

/// One stream with all that it needs, from its connection to its end.
class PipeWireAudioEngine::Run {
  public:
    Run(FileDescriptorWatcher& watcher, RenderBlock render) : watcher_(watcher), render_(std::move(render)) {}
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run();

    /// Throws std::runtime_error.
    void start(const std::string& remote, double sampleRate);

  private:
    void connect(const std::string& remote);
    void openStream(spa_audio_info_raw format);
    void serve();
    void process();
    void stateChanged(pw_stream_state state, const char* error);

    static const pw_stream_events events;

    FileDescriptorWatcher& watcher_;
    RenderBlock render_;
    pw_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_stream* stream_ = nullptr;
    spa_hook hook_{};
    bool isOver_ = false;
};

const pw_stream_events PipeWireAudioEngine::Run::events = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.state_changed = [](void* run, pw_stream_state, pw_stream_state state, const char* error) {
        static_cast<Run*>(run)->stateChanged(state, error);
    };
    table.process = [](void* run) { static_cast<Run*>(run)->process(); };
    return table;
}();

PipeWireAudioEngine::Run::~Run() {
    if (stream_) {
        spa_hook_remove(&hook_); // its end is no news
        pw_stream_destroy(stream_);
    }
    if (core_) pw_core_disconnect(core_);
    if (loop_) watcher_.unwatch(pw_loop_get_fd(loop_));
    if (context_) pw_context_destroy(context_); // ends the audio thread
    if (loop_) pw_loop_destroy(loop_);
}

void PipeWireAudioEngine::Run::start(const std::string& remote, double sampleRate) {
    const spa_audio_info_raw streamFormat = format(sampleRate);
    connect(remote);
    openStream(streamFormat);
    watcher_.watchReadable(pw_loop_get_fd(loop_), [this] { serve(); });
}

void PipeWireAudioEngine::Run::connect(const std::string& remote) {
    loop_ = pw_loop_new(nullptr);
    if (loop_) context_ = pw_context_new(loop_, nullptr, 0);
    if (!context_) fail("The sound server's client library could not start");
    pw_properties* properties = pw_properties_new(nullptr, nullptr);
    if (!remote.empty()) pw_properties_set(properties, PW_KEY_REMOTE_NAME, remote.c_str());
    core_ = pw_context_connect(context_, properties, 0);
    if (!core_) fail("The sound server can't be reached");
}

void PipeWireAudioEngine::Run::openStream(spa_audio_info_raw format) {
    // The session manager shall neither remember a volume or an output for the stream, where it can be told
    // so (0.4.13 can't), nor take it for music.
    stream_ = pw_stream_new(core_, "Sync Test",
                            pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                                              PW_KEY_MEDIA_ROLE, "Test", PW_KEY_APP_NAME, "Velto",
                                              PW_KEY_NODE_NAME, "velto.sync-test", "state.restore-props",
                                              "false", "state.restore-target", "false", nullptr));
    if (!stream_) fail("The sound server's stream could not be made");
    pw_stream_add_listener(stream_, &hook_, &events, this);
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                    PW_STREAM_FLAG_RT_PROCESS);
    const int result = pw_stream_connect(stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &parameter, 1);
    if (result < 0) {
        errno = -result;
        fail("The sound server's stream could not be connected");
    }
}

void PipeWireAudioEngine::Run::serve() {
    pw_loop_enter(loop_);
    pw_loop_iterate(loop_, 0);
    pw_loop_leave(loop_);
}

void PipeWireAudioEngine::Run::stateChanged(pw_stream_state state, const char* error) {
    const bool isOver = state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED;
    if (!isOver || std::exchange(isOver_, true)) return;
    LoggingService::sync.error("The sync test is not heard any more: {}",
                               error ? error : "the sound server is gone");
}

void PipeWireAudioEngine::Run::process() { // on the audio thread
    pw_buffer* buffer = pw_stream_dequeue_buffer(stream_);
    if (!buffer) return;
    const spa_buffer& memory = *buffer->buffer;
    const std::uint32_t count = std::min(memory.n_datas, channelCount);
    std::array<float*, channelCount> channels{};
    std::uint64_t frames = buffer->requested > 0 ? buffer->requested : UINT32_MAX;
    for (std::uint32_t i = 0; i < count; ++i) {
        channels[i] = static_cast<float*>(memory.datas[i].data);
        frames = std::min<std::uint64_t>(frames, memory.datas[i].maxsize / sizeof(float));
    }
    const auto frameCount = count > 0 ? static_cast<std::uint32_t>(frames) : 0;
    const OSStatus status = render_(frameCount, std::span(channels).first(count));
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t size = status == noErr ? frameCount * sizeof(float) : 0;
        *memory.datas[i].chunk = {.offset = 0,
                                  .size = static_cast<std::uint32_t>(size),
                                  .stride = sizeof(float),
                                  .flags = SPA_CHUNK_FLAG_NONE};
    }
    pw_stream_queue_buffer(stream_, buffer);
}

PipeWireAudioEngine::PipeWireAudioEngine(CoreAudioClient& client, FileDescriptorWatcher& watcher,
                                         std::string remote)
    : client_(client), watcher_(watcher), remote_(std::move(remote)) {
    pw_init(nullptr, nullptr);
}

PipeWireAudioEngine::~PipeWireAudioEngine() {
    stop();
    pw_deinit();
}

double PipeWireAudioEngine::outputSampleRate() {
    const AudioObjectID output = client_.defaultOutputDeviceID();
    return client_.nominalSampleRate(output);
}

void PipeWireAudioEngine::start(double sampleRate, RenderBlock render) {
    if (run_) throw std::logic_error("The audio engine plays already.");
    auto run = std::make_unique<Run>(watcher_, std::move(render));
    run->start(remote_, sampleRate);
    run_ = std::move(run);
}

void PipeWireAudioEngine::stop() noexcept { run_.reset(); }

} // namespace velto
