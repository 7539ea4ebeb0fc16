#include "Tools/SoundLab/SoundRoom.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <stdexcept>

namespace velto {

struct SoundRoom::Events {
    static constexpr pw_filter_events table = [] {
        pw_filter_events events{};
        events.version = PW_VERSION_FILTER_EVENTS;
        events.process = [](void* room, spa_io_position* position) {
            if (position) static_cast<SoundRoom*>(room)->process(*position);
        };
        return events;
    }();
};

SoundRoom::SoundRoom(const std::string& socket, const VirtualRoom& room, std::array<std::string, 2> outputs)
    : lab_(socket) {
    for (std::size_t i = 0; i < ears_.size(); ++i)
        ears_[i].output = std::move(outputs[i]);
    change(room);
    lab_.plug({input,
               inputName,
               {{"media.class", "Audio/Source/Virtual"},
                {"audio.position", "[ MONO ]"},
                {"audio.rate", "48000"},
                {"priority.session", "2000"}}});
    connect();
    lab_.onChange([this] { link(); });
    if (!lab_.waitUntil([this] { return isLinked(); }))
        throw std::runtime_error("The room's microphone hears no outputs");
}

SoundRoom::~SoundRoom() {
    lab_.onChange(nullptr);
    {
        const SoundLab::Lock lock(lab_);
        for (const auto& entry : links_)
            pw_proxy_destroy(entry.second);
        spa_hook_remove(&hook_);
        pw_filter_destroy(filter_);
    }
    unplugInput();
}

void SoundRoom::unplugInput() {
    if (lab_.exists(input)) lab_.unplug(input);
}

void SoundRoom::change(const VirtualRoom& room) {
    for (std::size_t i = 0; i < ears_.size(); ++i) {
        std::vector<VirtualRoom::Path> paths = room.paths(i, sampleRate);
        std::size_t longest = 0;
        for (const VirtualRoom::Path& path : paths)
            longest = std::max(longest, path.frames);
        const std::lock_guard lock(mutex_);
        ears_[i].paths = std::move(paths);
        ears_[i].heard.assign(longest + longestCycle, 0);
        noise_ = room.noise;
        ceiling_ = room.ceiling;
        random_.seed(static_cast<std::uint32_t>(room.seed));
    }
}

void SoundRoom::connect() {
    const SoundLab::Lock lock(lab_);
    filter_ = pw_filter_new(lab_.core(), "velto.lab.room",
                            pw_properties_new(PW_KEY_NODE_NAME, "velto.lab.room", PW_KEY_MEDIA_TYPE, "Audio",
                                              PW_KEY_MEDIA_CATEGORY, "Filter", PW_KEY_NODE_GROUP,
                                              "pipewire.dummy", PW_KEY_NODE_ALWAYS_PROCESS, "true",
                                              PW_KEY_NODE_AUTOCONNECT, "false", nullptr));
    pw_filter_add_listener(filter_, &hook_, &Events::table, this);
    const auto addPort = [this](pw_direction direction, const std::string& name) {
        return pw_filter_add_port(filter_, direction, PW_FILTER_PORT_FLAG_MAP_BUFFERS, sizeof(int),
                                  pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio",
                                                    PW_KEY_PORT_NAME, name.c_str(), nullptr),
                                  nullptr, 0);
    };
    for (std::size_t i = 0; i < ears_.size(); ++i)
        ears_[i].port = addPort(PW_DIRECTION_INPUT, "ear" + std::to_string(i));
    microphone_ = addPort(PW_DIRECTION_OUTPUT, "microphone");
    if (pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0)
        throw std::runtime_error("The room could not connect to the private sound server");
}

void SoundRoom::request(const PipeWirePort& from, const PipeWirePort& to) {
    const std::pair ends(from.globalID(), to.globalID());
    if (links_.contains(ends)) return;
    pw_properties* properties = pw_properties_new(nullptr, nullptr);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", from.globalID());
    pw_properties_setf(properties, PW_KEY_LINK_INPUT_PORT, "%u", to.globalID());
    links_[ends] = static_cast<pw_proxy*>(pw_core_create_object(
        lab_.core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties->dict, 0));
    pw_properties_free(properties);
}

void SoundRoom::link() {
    const PipeWireGraph& graph = lab_.graph();
    const std::uint32_t room = pw_filter_get_node_id(filter_);
    if (room == SPA_ID_INVALID) return;
    for (const PipeWirePort* own : graph.ports(room)) {
        const auto ear = std::ranges::find_if(ears_, [&](const Ear& candidate) {
            return own->name() == "ear" + std::to_string(&candidate - ears_.data());
        });
        const PipeWireNode* const node = graph.device(ear == ears_.end() ? std::string(input) : ear->output);
        if (!node) continue;
        for (const PipeWirePort* port : graph.ports(node->globalID())) {
            // One channel is enough: sweeps are the same on all.
            if (own->isInput() && port->isMonitor() && port->channel() == "FL") request(*port, *own);
            if (!own->isInput() && port->isInput()) request(*own, *port);
        }
    }
    std::erase_if(links_, [&](const auto& entry) {
        if (graph.hasPort(entry.first.first) && graph.hasPort(entry.first.second)) return false;
        pw_proxy_destroy(entry.second);
        return true;
    });
}

bool SoundRoom::isLinked() {
    return links_.size() == ears_.size() + 1 && std::ranges::all_of(links_, [this](const auto& asked) {
               return std::ranges::any_of(lab_.graph().links(), [&](const auto& entry) {
                   return entry.second.outputPort == asked.first.first &&
                          entry.second.inputPort == asked.first.second;
               });
           });
}

void SoundRoom::process(const spa_io_position& position) { // on the audio thread
    const auto frames = static_cast<std::uint32_t>(position.clock.duration);
    auto* const heard = static_cast<float*>(pw_filter_get_dsp_buffer(microphone_, frames));
    if (heard) std::fill_n(heard, frames, 0.0F);
    const std::lock_guard lock(mutex_);
    for (Ear& ear : ears_) {
        const auto* const played = static_cast<const float*>(pw_filter_get_dsp_buffer(ear.port, frames));
        std::copy(ear.heard.begin() + frames, ear.heard.end(), ear.heard.begin());
        float* const now = ear.heard.data() + ear.heard.size() - frames;
        if (played) {
            std::copy_n(played, frames, now);
        } else {
            std::fill_n(now, frames, 0.0F);
        }
        if (!heard) continue;
        for (const VirtualRoom::Path& path : ear.paths) {
            const float* const then = now - path.frames;
            const auto gain = static_cast<float>(path.gain);
            for (std::uint32_t i = 0; i < frames; ++i)
                heard[i] += gain * then[i];
        }
    }
    if (!heard) return;
    const auto uniform = [this] {
        return static_cast<double>(random_()) / static_cast<double>(std::minstd_rand::max()) - 0.5;
    };
    const double noise = noise_ * std::sqrt(3.0); // of four of them: the root mean square is 1 / sqrt(3)
    for (std::uint32_t i = 0; i < frames; ++i)
        heard[i] = static_cast<float>(std::clamp(static_cast<double>(heard[i]) +
                                                     noise * (uniform() + uniform() + uniform() + uniform()),
                                                 -ceiling_, ceiling_));
}

} // namespace velto
