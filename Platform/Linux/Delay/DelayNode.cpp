#include "Platform/Linux/Delay/DelayNode.h"

#include "Platform/Linux/Delay/DelayNames.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

/// The first; each next one is twice as long, up to the longest.
constexpr std::chrono::milliseconds attemptInterval{20};
constexpr int mostDoublings = 5;
/// While no sound runs that must not go on for ever.
constexpr int mostAttemptsAtRest = 10;
constexpr const char* portFormat = "32 bit float mono audio";

void* addPort(pw_filter* filter, pw_direction direction, const std::string& name, const char* channel) {
    pw_properties* properties =
        pw_properties_new(PW_KEY_FORMAT_DSP, portFormat, PW_KEY_PORT_NAME, name.c_str(), nullptr);
    if (channel) pw_properties_set(properties, PW_KEY_AUDIO_CHANNEL, channel);
    void* const port = pw_filter_add_port(filter, direction, PW_FILTER_PORT_FLAG_MAP_BUFFERS, sizeof(int),
                                          properties, nullptr, 0);
    if (!port) throw std::runtime_error("A port could not be made");
    return port;
}

} // namespace

/// An active link from a port that plays nothing to a port of an output.
struct DelayNode::Link {
    pw_proxy* proxy;
    spa_hook hook{};
    DelayNode& owner;
    bool isOver = false; // refused, or gone with the output

    static void over(void* data) {
        auto& link = *static_cast<Link*>(data);
        link.isOver = true;
        link.owner.tryAgainLater();
    }
    static constexpr pw_proxy_events events = [] {
        pw_proxy_events table{};
        table.version = PW_VERSION_PROXY_EVENTS;
        table.removed = over;
        table.error = [](void* link, int, int, const char*) { over(link); };
        return table;
    }();

    Link(DelayNode& owner, uint32_t node, const std::string& port, const std::string& output,
         const std::string& input)
        : owner(owner) {
        pw_properties* properties =
            pw_properties_new(PW_KEY_LINK_OUTPUT_PORT, port.c_str(), PW_KEY_LINK_INPUT_NODE, output.c_str(),
                              PW_KEY_LINK_INPUT_PORT, input.c_str(), nullptr);
        pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", node);
        proxy = static_cast<pw_proxy*>(pw_core_create_object(
            owner.core_, "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties->dict, 0));
        pw_properties_free(properties);
        if (proxy) pw_proxy_add_listener(proxy, &hook, &events, this);
        isOver = !proxy;
    }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    ~Link() {
        if (!proxy) return;
        spa_hook_remove(&hook);
        pw_proxy_destroy(proxy);
    }
};

struct DelayNode::Events {
    static constexpr pw_filter_events table = [] {
        pw_filter_events events{};
        events.version = PW_VERSION_FILTER_EVENTS;
        events.state_changed = [](void* node, pw_filter_state, pw_filter_state state, const char* error) {
            static_cast<DelayNode*>(node)->stateChanged(state, error);
        };
        events.process = [](void* node, spa_io_position* position) {
            if (position) static_cast<DelayNode*>(node)->process(*position);
        };
        return events;
    }();
};

DelayNode::DelayNode(pw_core* core, pw_loop* loop, const std::string& aggregate,
                     std::vector<std::string> outputs, DelayLine& line, const Watchdog& watchdog, Over over)
    : core_(core), line_(line), watchdog_(watchdog), over_(std::move(over)),
      awakeChanged_(loop, LoopSource::Kind::event,
                    [this] {
                        attempt_ = 0;
                        keepAwake();
                    }),
      attempts_(loop, LoopSource::Kind::timer,
                [this] {
                    ++attempt_;
                    keepAwake();
                }),
      taps_(outputs.size()) {
    for (std::string& output : outputs)
        outputs_.push_back({std::move(output), {}, {}, nullptr});
    // No media class: no mixer lists it, and the session manager leaves it alone.
    filter_ = pw_filter_new(core_, "Velto Delay",
                            pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Filter",
                                              PW_KEY_NODE_NAME, DelayNames::node(aggregate).c_str(),
                                              PW_KEY_OBJECT_PATH, DelayNames::mark, PW_KEY_NODE_AUTOCONNECT,
                                              "false", nullptr));
    if (!filter_) throw std::runtime_error("The node could not be made");
    pw_filter_add_listener(filter_, &hook_, &Events::table, this);
    addPorts();
    if (pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0)
        throw std::runtime_error("The node could not be connected");
    lookUpInputs();
}

DelayNode::~DelayNode() {
    outputs_.clear();
    spa_hook_remove(&hook_); // its end is no news
    pw_filter_destroy(filter_);
}

void DelayNode::addPorts() {
    for (std::size_t channel = 0; channel < inputs_.size(); ++channel) {
        const char* name = DelayNames::channels[channel];
        inputs_[channel] = addPort(filter_, PW_DIRECTION_INPUT, DelayNames::input(name), name);
        for (std::size_t place = 0; place < outputs_.size(); ++place)
            outputs_[place].ports[channel] =
                addPort(filter_, PW_DIRECTION_OUTPUT, DelayNames::output(place, name), name);
    }
    for (std::size_t place = 0; place < outputs_.size(); ++place)
        addPort(filter_, PW_DIRECTION_OUTPUT, DelayNames::keeper(place), nullptr);
}

void DelayNode::stateChanged(pw_filter_state state, const char* error) {
    if (state == PW_FILTER_STATE_ERROR || state == PW_FILTER_STATE_UNCONNECTED)
        return over_(error ? error : "Its node was removed");
    if (state != PW_FILTER_STATE_STREAMING) return;
    line_.wipe(); // before the first cycle: what stands in the line is of another time
    attempt_ = 0; // so is what was in vain
    keepAwake();
}

void DelayNode::wake() {
    awake_.store(~std::uint32_t{0}, std::memory_order_relaxed); // what runs knows better in its next cycle
    attempt_ = 0;
    keepAwake();
}

/// Links the outputs that are to be kept awake, and no others.
void DelayNode::keepAwake() {
    const std::uint32_t awake = awake_.load(std::memory_order_relaxed);
    bool isWhole = true;
    for (std::size_t place = 0; place < outputs_.size(); ++place) {
        if ((awake >> place & 1U) == 0) {
            outputs_[place].keeper.reset();
        } else {
            isWhole = link(place) && isWhole;
        }
    }
    if (isWhole) {
        attempts_.setInterval({});
    } else {
        tryAgainLater();
    }
}

/// False while that has to wait for where the output's port is, or for the server to know this node.
bool DelayNode::link(std::size_t place) {
    Output& output = outputs_[place];
    if (output.keeper && !output.keeper->isOver) return true;
    if (output.keeper) output.input.clear(); // perhaps it is another one now
    output.keeper.reset();
    const uint32_t node = pw_filter_get_node_id(filter_);
    if (output.input.empty()) {
        if (!(listing_ && !listing_->isWhole())) lookUpInputs();
    } else if (node != SPA_ID_INVALID) {
        output.keeper =
            std::make_unique<Link>(*this, node, DelayNames::keeper(place), output.name, output.input);
    }
    return output.keeper && !output.keeper->isOver;
}

void DelayNode::tryAgainLater() {
    const bool isRunning = pw_filter_get_state(filter_, nullptr) == PW_FILTER_STATE_STREAMING;
    const bool isInVain = attempt_ >= mostAttemptsAtRest && !isRunning;
    attempts_.setInterval(isInVain ? std::chrono::milliseconds::zero()
                                   : attemptInterval * (1 << std::min(attempt_, mostDoublings)));
}

/// The server links no port to "some port of a node".
void DelayNode::lookUpInputs() {
    listing_.emplace(core_, [this](const ServerListing& listing) {
        for (Output& output : outputs_)
            if (output.input.empty()) output.input = listing.inputPort(output.name);
        keepAwake(); // what is missing now is looked up again in a while
    });
}

void DelayNode::process(const spa_io_position& position) { // on the audio thread
    const spa_io_clock& clock = position.clock;
    const auto frames = static_cast<std::uint32_t>(clock.duration);
    // What was missed, while this program was held up, the other outputs have played.
    if (clock.id == clockID_ && clock.position > nextPosition_) line_.skip(clock.position - nextPosition_);
    clockID_ = clock.id;
    nextPosition_ = clock.position + clock.duration;

    DelayLine::Sound sound{};
    for (std::size_t channel = 0; channel < sound.size(); ++channel) {
        sound[channel] = static_cast<const float*>(pw_filter_get_dsp_buffer(inputs_[channel], frames));
        for (std::size_t place = 0; place < taps_.size(); ++place)
            taps_[place][channel] =
                static_cast<float*>(pw_filter_get_dsp_buffer(outputs_[place].ports[channel], frames));
    }
    line_.process(clock.rate.denom, frames, sound, taps_);
    framesSincePutOff_ += frames;
    if (framesSincePutOff_ * 1000 >= clock.rate.denom * std::uint64_t{Watchdog::interval.count()}) {
        framesSincePutOff_ = 0;
        watchdog_.putOff(Watchdog::timeout +
                         std::chrono::milliseconds(clock.duration * 1000 / std::max(1U, clock.rate.denom)));
    }

    std::uint32_t awake = 0;
    for (std::size_t place = 0; place < taps_.size(); ++place)
        if ((taps_[place][0] || line_.isMeasuring()) && line_.isSounding(place)) awake |= 1U << place;
    if (awake_.exchange(awake, std::memory_order_relaxed) != awake) awakeChanged_.signal();
}

} // namespace velto
