#include "Tools/SoundLab/ClockedOutput.h"

#include <spa/param/audio/format-utils.h>
#include <spa/param/latency-utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

/// In seconds. A buffer that is further off has run dry, or over, in a pause or a missed cycle: the output
/// fills it anew, as drivers do. To steer back from there would take minutes.
constexpr double longestSlip = 0.005;

} // namespace

struct ClockedOutput::Events {
    static ClockedOutput& output(void* data) { return *static_cast<ClockedOutput*>(data); }

    static constexpr pw_stream_events stream = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.io_changed = [](void* data, std::uint32_t id, void* area, std::uint32_t) {
            if (id == SPA_IO_RateMatch) output(data).rateMatch_ = static_cast<spa_io_rate_match*>(area);
            if (id == SPA_IO_Position) output(data).position_ = static_cast<spa_io_position*>(area);
        };
        table.process = [](void* data) { output(data).process(); };
        return table;
    }();
};

ClockedOutput::ClockedOutput(const std::string& socket, const std::string& name,
                             const std::string& description, const Hardware& hardware, double longestSeconds)
    : hardware_(hardware), pace_(sampleRate * (1 + hardware.partsPerMillion * 1e-6)),
      depth_(hardware.milliseconds / 1000 * sampleRate), lab_(socket),
      samples_(static_cast<std::size_t>(longestSeconds * sampleRate)) {
    spa_dll_init(&loop_);
    connect(name, description);
    const auto isThere = [&] {
        const PipeWireNode* const node = lab_.graph().device(name);
        return node && lab_.graph().ports(node->globalID()).size() >= 4; // two of them its monitor's
    };
    if (!lab_.waitUntil(isThere)) throw std::runtime_error("The output " + name + " does not come up");
}

ClockedOutput::~ClockedOutput() {
    const SoundLab::Lock lock(lab_);
    spa_hook_remove(&hook_);
    pw_stream_destroy(stream_);
}

void ClockedOutput::connect(const std::string& name, const std::string& description) {
    const SoundLab::Lock lock(lab_);
    stream_ = pw_stream_new(lab_.core(), description.c_str(),
                            pw_properties_new(PW_KEY_MEDIA_CLASS, "Audio/Sink", PW_KEY_NODE_NAME,
                                              name.c_str(), PW_KEY_NODE_DESCRIPTION, description.c_str(),
                                              "audio.position", "[ FL FR ]", "audio.rate", "48000", nullptr));
    pw_stream_add_listener(stream_, &hook_, &Events::stream, this);
    std::array<std::array<std::uint8_t, 1024>, 2> memory{};
    std::array<spa_pod_builder, 2> builders{};
    for (std::size_t i = 0; i < memory.size(); ++i)
        spa_pod_builder_init(&builders[i], memory[i].data(), static_cast<std::uint32_t>(memory[i].size()));
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32P;
    format.rate = static_cast<std::uint32_t>(sampleRate);
    format.channels = 2;
    format.position[0] = SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    spa_latency_info latency{};
    latency.direction = SPA_DIRECTION_INPUT;
    latency.min_ns = latency.max_ns = static_cast<std::uint64_t>(hardware_.reportedMilliseconds * 1e6);
    std::array<const spa_pod*, 2> parameters{
        spa_format_audio_raw_build(&builders[0], SPA_PARAM_EnumFormat, &format),
        spa_latency_build(&builders[1], SPA_PARAM_Latency, &latency)};
    if (pw_stream_connect(
            stream_, PW_DIRECTION_INPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS),
            parameters.data(), static_cast<std::uint32_t>(parameters.size())) < 0)
        throw std::runtime_error("The output " + name + " could not be connected");
}

void ClockedOutput::process() { // on the audio thread
    pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_);
    if (!buffer) return;
    const spa_data& data = buffer->buffer->datas[0];
    const std::size_t size = data.data ? std::min(data.chunk->size, data.maxsize) / sizeof(float) : 0;
    if (position_) steer(static_cast<double>(position_->clock.nsec) * 1e-9, position_->clock.duration);
    const std::size_t count = count_.load(std::memory_order_relaxed);
    const std::size_t kept = std::min(size, samples_.size() - count);
    std::copy_n(static_cast<const float*>(data.data), kept,
                samples_.begin() + static_cast<std::ptrdiff_t>(count));
    count_.store(count + kept, std::memory_order_release);
    pw_stream_queue_buffer(stream_, buffer);
}

/// The buffer holds what has come and was not heard yet.
void ClockedOutput::steer(double now, std::uint64_t cycle) {
    if (std::exchange(cycle_, cycle) != cycle)
        spa_dll_set_bw(&loop_, SPA_DLL_BW_MAX, static_cast<unsigned>(cycle),
                       static_cast<unsigned>(sampleRate));
    const auto count = static_cast<double>(count_.load(std::memory_order_relaxed));
    const double error = count - (now - begin_) * pace_ - depth_;
    if (std::abs(error) > longestSlip * sampleRate) {
        begin_ = now + (depth_ - count) / pace_;
        return;
    }
    const double correction = spa_dll_update(&loop_, error);
    if (!rateMatch_) return;
    rateMatch_->flags |= SPA_IO_RATE_MATCH_FLAG_ACTIVE;
    rateMatch_->rate = correction;
}

std::vector<float> ClockedOutput::heard(std::int64_t from, std::size_t count) const {
    std::vector<float> result(count, 0.0F);
    const auto played = static_cast<double>(count_.load(std::memory_order_acquire));
    for (std::size_t i = 0; i < count; ++i) {
        const double moment = static_cast<double>(from) * 1e-9 + static_cast<double>(i) / sampleRate;
        const double place = (moment - begin_) * pace_;
        if (place < 0 || place + 1 >= played) continue;
        const auto index = static_cast<std::size_t>(place);
        const auto part = static_cast<float>(place - static_cast<double>(index));
        result[i] = samples_[index] * (1 - part) + samples_[index + 1] * part;
    }
    return result;
}

std::optional<double> heardLaterBy(const ClockedOutput& first, const ClockedOutput& second,
                                   std::int64_t from) {
    constexpr std::ptrdiff_t most = 960;
    constexpr std::ptrdiff_t compared = 4096;
    const std::vector<float> early = first.heard(from, compared + 2 * most);
    const std::vector<float> late = second.heard(from, compared + 2 * most);
    const auto product = [&](const std::vector<float>& a, std::ptrdiff_t i, const std::vector<float>& b,
                             std::ptrdiff_t j) {
        return std::inner_product(a.begin() + i, a.begin() + i + compared, b.begin() + j, 0.0);
    };
    std::vector<double> likeness;
    for (std::ptrdiff_t lag = -most; lag <= most; ++lag)
        likeness.push_back(product(early, most, late, most + lag));
    const auto best = std::max_element(likeness.begin() + 1, likeness.end() - 1);
    const std::ptrdiff_t lag = best - likeness.begin() - most;
    const double power =
        std::sqrt(product(early, most, early, most) * product(late, most + lag, late, most + lag));
    if (!(*best > 0.5 * power)) return std::nullopt;
    // Between samples: the top of the parabola through the best and its neighbours.
    const double bend = best[-1] - 2 * best[0] + best[1];
    const double part = bend == 0 ? 0 : 0.5 * (best[-1] - best[1]) / bend;
    return (static_cast<double>(lag) + part) / ClockedOutput::sampleRate * 1000;
}

} // namespace velto
