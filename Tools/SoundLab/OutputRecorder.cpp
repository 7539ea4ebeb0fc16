#include "Tools/SoundLab/OutputRecorder.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <span>
#include <stdexcept>
#include <thread>

namespace velto {

struct OutputRecorder::Track {
    std::string output;
    std::array<void*, 2> ports{};
    std::array<std::vector<float>, 2> samples;
    std::atomic<std::int64_t> heardUntil = 0;
};

struct OutputRecorder::Events {
    static void process(void* data, spa_io_position* position) {
        static_cast<OutputRecorder*>(data)->process(*position);
    }
    static constexpr pw_filter_events table = [] {
        pw_filter_events events{};
        events.version = PW_VERSION_FILTER_EVENTS;
        events.process = process;
        return events;
    }();
};

OutputRecorder::OutputRecorder(SoundLab& lab, std::vector<std::string> outputs, GraphClock clock,
                               double longestSeconds)
    : lab_(lab), capacity_(static_cast<std::int64_t>(longestSeconds * sampleRate)),
      isPassive_(clock == GraphClock::players) {
    connect(std::move(outputs), clock);
    lab_.onChange([this] { linkMonitors(); });
    if (!isPassive_) waitUntil(0.0); // the timeline begins with the first cycle
}

void OutputRecorder::connect(std::vector<std::string> outputs, GraphClock clock) {
    const SoundLab::Lock lock(lab_);
    pw_properties* properties = pw_properties_new(
        PW_KEY_NODE_NAME, "velto.lab.recorder", PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture",
        PW_KEY_NODE_ALWAYS_PROCESS, isPassive_ ? "false" : "true", nullptr);
    if (clock == GraphClock::dummyDriver) pw_properties_set(properties, PW_KEY_NODE_GROUP, "pipewire.dummy");
    filter_ = pw_filter_new(lab_.core(), "velto.lab.recorder", properties);
    pw_filter_add_listener(filter_, &hook_, &Events::table, this);
    for (std::string& output : outputs) {
        auto track = std::make_unique<Track>();
        track->output = std::move(output);
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const std::string name = track->output + (channel == 0 ? ":FL" : ":FR");
            track->samples[channel].resize(static_cast<std::size_t>(capacity_));
            track->ports[channel] =
                pw_filter_add_port(filter_, PW_DIRECTION_INPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, sizeof(int),
                                   pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio",
                                                     PW_KEY_PORT_NAME, name.c_str(), nullptr),
                                   nullptr, 0);
        }
        tracks_.push_back(std::move(track));
    }
    if (pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0)
        throw std::runtime_error("The recorder could not connect to the private sound server");
}

OutputRecorder::~OutputRecorder() { stop(); }

void OutputRecorder::stop() {
    if (!filter_) return;
    lab_.onChange(nullptr);
    const SoundLab::Lock lock(lab_);
    for (const auto& entry : requested_)
        pw_proxy_destroy(entry.second);
    requested_.clear();
    pw_filter_destroy(filter_);
    filter_ = nullptr;
}

void OutputRecorder::linkMonitors() {
    // The recorder's own ports come in the order in which they were added.
    const uint32_t recorder = pw_filter_get_node_id(filter_);
    if (recorder == SPA_ID_INVALID) return;
    const auto inputs = lab_.graph().ports(recorder);
    if (inputs.size() != tracks_.size() * 2) return;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const PipeWireNode* node = lab_.graph().device(tracks_[i / 2]->output);
        if (!node) continue;
        for (const PipeWirePort* port : lab_.graph().ports(node->globalID())) {
            if (!port->isMonitor() || port->channel() != (i % 2 == 0 ? "FL" : "FR")) continue;
            const std::pair ends(port->globalID(), inputs[i]->globalID());
            if (requested_.contains(ends)) continue;
            pw_properties* properties =
                pw_properties_new(PW_KEY_LINK_PASSIVE, isPassive_ ? "true" : "false", nullptr);
            pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", port->nodeID());
            pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", port->globalID());
            pw_properties_setf(properties, PW_KEY_LINK_INPUT_NODE, "%u", recorder);
            pw_properties_setf(properties, PW_KEY_LINK_INPUT_PORT, "%u", inputs[i]->globalID());
            requested_[ends] = static_cast<pw_proxy*>(pw_core_create_object(
                lab_.core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties->dict, 0));
            pw_properties_free(properties);
        }
    }
    // Global IDs are used again: what is gone is forgotten.
    std::erase_if(requested_, [&](const auto& entry) {
        if (lab_.graph().hasPort(entry.first.first)) return false;
        pw_proxy_destroy(entry.second);
        return true;
    });
}

void OutputRecorder::process(const spa_io_position& position) {
    const spa_io_clock& clock = position.clock;
    const auto count = static_cast<std::int64_t>(clock.duration);
    std::int64_t frame = frames_.load(std::memory_order_relaxed);
    if (hasStarted_ && clock.id == clockID_) {
        // Cycles that this node missed leave silence, so that the timeline stays true.
        const auto missed = static_cast<std::int64_t>(clock.position - nextPosition_);
        frame += missed;
        missedFrames_ += missed;
    } else if (hasStarted_) {
        const double since =
            static_cast<double>(static_cast<std::int64_t>(clock.nsec) - cycleTime_.load()) * 1e-9;
        frame = std::max<std::int64_t>(frame, cycleFrame_.load() + std::llround(since * sampleRate));
    }
    hasStarted_ = true;
    clockID_ = clock.id;
    nextPosition_ = clock.position + clock.duration;
    const bool hasRoom = frame >= 0 && frame + count <= capacity_;
    for (const auto& track : tracks_) {
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const void* heard = pw_filter_get_dsp_buffer(track->ports[channel], static_cast<uint32_t>(count));
            if (!heard || !hasRoom) continue;
            const std::span<const float> cycle(static_cast<const float*>(heard),
                                               static_cast<std::size_t>(count));
            std::ranges::copy(cycle, track->samples[channel].begin() + frame);
            const auto last =
                std::find_if(cycle.rbegin(), cycle.rend(), [](float sample) { return sample != 0; });
            if (last != cycle.rend())
                track->heardUntil = std::max(track->heardUntil.load(), frame + (cycle.rend() - last));
        }
    }
    if (!hasRoom) return;
    cycleTime_.store(static_cast<std::int64_t>(clock.nsec));
    cycleFrame_.store(frame);
    quantum_.store(count);
    frames_.store(frame + count);
}

double OutputRecorder::timelineSeconds(std::int64_t monotonic) const {
    const double sinceCycle = static_cast<double>(monotonic - cycleTime_.load()) * 1e-9;
    return static_cast<double>(cycleFrame_.load()) / sampleRate + sinceCycle;
}

void OutputRecorder::waitUntil(double second) const {
    const auto wanted = std::max<std::int64_t>(static_cast<std::int64_t>(second * sampleRate), 1);
    // The clock runs in real time: what takes much longer never comes.
    const double left = static_cast<double>(wanted - frames_.load()) / sampleRate;
    const std::int64_t deadline = monotonicNow() + static_cast<std::int64_t>(left * 1e9) + 5'000'000'000;
    while (frames_.load() < wanted) {
        if (monotonicNow() > deadline)
            throw std::runtime_error("The private sound server's clock stands still");
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

const OutputRecorder::Track& OutputRecorder::track(const std::string& output) const {
    const auto track = std::ranges::find(tracks_, output, [](const auto& entry) { return entry->output; });
    if (track == tracks_.end()) throw std::runtime_error("The output " + output + " is not recorded");
    return **track;
}

std::int64_t OutputRecorder::heardUntil(const std::string& output) const { return track(output).heardUntil; }

std::vector<float> OutputRecorder::samples(const std::string& output) const {
    const Track& recorded = track(output);
    std::vector<float> result;
    const auto count = static_cast<std::size_t>(frames_.load());
    result.reserve(count * 2);
    for (std::size_t i = 0; i < count; ++i)
        for (const auto& channel : recorded.samples)
            result.push_back(channel[i]);
    return result;
}

void OutputRecorder::write(const std::string& output, const std::filesystem::path& file) const {
    writeRecording(file, samples(output));
}

void writeRecording(const std::filesystem::path& file, const std::vector<float>& interleaved) {
    SF_INFO format{};
    format.samplerate = OutputRecorder::sampleRate;
    format.channels = 2;
    format.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* stream = sf_open(file.c_str(), SFM_WRITE, &format);
    if (!stream) throw std::runtime_error("The recording " + file.string() + " can't be written");
    const auto frames = static_cast<sf_count_t>(interleaved.size() / 2);
    const bool isWritten = sf_writef_float(stream, interleaved.data(), frames) == frames;
    sf_close(stream);
    if (!isWritten) throw std::runtime_error("The recording " + file.string() + " can't be written");
}

} // namespace velto
