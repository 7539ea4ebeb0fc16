#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"

#include "Platform/Linux/Delay/ClientLibrary.h"
#include "Platform/Linux/PipeWire/PipeWireStream.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

constexpr std::uint32_t channelCount = 2; // the server spreads stereo over any output

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

/// From the stream's opening to its end.
class PipeWireAudioEngine::Run {
  public:
    /// Throws std::runtime_error.
    Run(FileDescriptorWatcher& watcher, const std::string& remote, spa_audio_info_raw format,
        RenderBlock render)
        : render_(std::move(render)), stream_(watcher, remote) {
        stream_.open(PW_DIRECTION_OUTPUT, "Sync Test",
                     pw_properties_new(PW_KEY_MEDIA_CATEGORY, "Playback", PW_KEY_NODE_NAME, "velto.sync-test",
                                       nullptr),
                     events, this, format);
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

  private:
    void process();
    void stateChanged(pw_stream_state state, const char* error);

    static const pw_stream_events events;

    RenderBlock render_;
    bool isOver_ = false;
    PipeWireStream stream_; // goes first, and with it the audio thread
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

void PipeWireAudioEngine::Run::stateChanged(pw_stream_state state, const char* error) {
    const bool isOver = state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED;
    if (!isOver || std::exchange(isOver_, true)) return;
    LoggingService::sync.error("The sync test is not heard any more: {}",
                               error ? error : "the sound server is gone");
}

void PipeWireAudioEngine::Run::process() { // on the audio thread
    pw_buffer* const buffer = stream_.takeBuffer();
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
    stream_.giveBack(buffer);
}

PipeWireAudioEngine::PipeWireAudioEngine(CoreAudioClient& client, FileDescriptorWatcher& watcher,
                                         std::string remote)
    : client_(client), watcher_(watcher), remote_(std::move(remote)) {
    beginWithClientLibrary();
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
    run_ = std::make_unique<Run>(watcher_, remote_, format(sampleRate), std::move(render));
}

void PipeWireAudioEngine::stop() noexcept { run_.reset(); }

} // namespace velto
