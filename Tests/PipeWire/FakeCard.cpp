#include "Tests/PipeWire/FakeCard.h"

#include <spa/monitor/utils.h>
#include <spa/param/param.h>
#include <spa/param/route.h>
#include <spa/pod/builder.h>
#include <spa/pod/parser.h>

#include <array>
#include <cerrno>
#include <utility>

namespace velto {

namespace {

constexpr int outputRoute = 7;
constexpr int inputRoute = 2;

} // namespace

struct FakeCard::Methods {
    static int addListener(void* object, spa_hook* listener, const spa_device_events* events, void* data) {
        auto& self = *static_cast<FakeCard*>(object);
        spa_hook_list others{};
        spa_hook_list_isolate(&self.listeners_, &others, listener, events, data);
        self.announce(SPA_DEVICE_CHANGE_MASK_PROPS | SPA_DEVICE_CHANGE_MASK_PARAMS);
        spa_hook_list_join(&self.listeners_, &others);
        return 0;
    }
    static int sync(void* object, int sequence) {
        auto& self = *static_cast<FakeCard*>(object);
        spa_device_emit_result(&self.listeners_, sequence, 0, 0, nullptr);
        return 0;
    }
    static int enumParams(void* object, int sequence, uint32_t id, uint32_t first, uint32_t count,
                          const spa_pod*) {
        auto& self = *static_cast<FakeCard*>(object);
        if (id != SPA_PARAM_Route) return -ENOENT;
        const uint32_t end = self.hasRoutes_ ? 2 : 0;
        for (uint32_t index = first; index < end && count > 0; ++index, --count)
            self.answer(sequence, index);
        return 0;
    }
    static int setParam(void* object, uint32_t id, uint32_t, const spa_pod* param) {
        auto& self = *static_cast<FakeCard*>(object);
        if (id != SPA_PARAM_Route) return -ENOENT;
        Change change;
        const spa_pod* props = nullptr;
        spa_pod_parse_object(param, SPA_TYPE_OBJECT_ParamRoute, nullptr,        //
                             SPA_PARAM_ROUTE_index, SPA_POD_Int(&change.route), //
                             SPA_PARAM_ROUTE_device, SPA_POD_Int(&change.device), SPA_PARAM_ROUTE_props,
                             SPA_POD_OPT_Pod(&props), SPA_PARAM_ROUTE_save,
                             SPA_POD_OPT_Bool(&change.isSaved));
        change.props = readVolumeProps(props);
        self.changes_.push_back(std::move(change));
        pw_thread_loop_signal(self.loop_, false);
        return 0;
    }
    static void bound(void* data, uint32_t) {
        pw_thread_loop_signal(static_cast<FakeCard*>(data)->loop_, false);
    }
    static constexpr pw_proxy_events proxyEvents = [] {
        pw_proxy_events events{};
        events.version = PW_VERSION_PROXY_EVENTS;
        events.bound = bound;
        return events;
    }();
    static constexpr spa_device_methods table{SPA_VERSION_DEVICE_METHODS, addListener, sync, enumParams,
                                              setParam};
};

FakeCard::FakeCard(const std::string& socket, std::map<std::string, std::string> properties)
    : texts_(std::move(properties)) {
    device_.iface = SPA_INTERFACE_INIT(SPA_TYPE_INTERFACE_Device, SPA_VERSION_DEVICE, &Methods::table, this);
    spa_hook_list_init(&listeners_);
    items_ = {{"media.class", "Audio/Device"}, {"device.name", "card"}};
    for (const auto& [key, value] : texts_)
        items_.push_back({key.c_str(), value.c_str()});
    properties_ = {0, static_cast<uint32_t>(items_.size()), items_.data()};
    parameter_.id = SPA_PARAM_Route;
    parameter_.flags = SPA_PARAM_INFO_READWRITE;

    pw_init(nullptr, nullptr);
    loop_ = pw_thread_loop_new("fake-card", nullptr);
    context_ = pw_context_new(pw_thread_loop_get_loop(loop_), nullptr, 0);
    core_ = pw_context_connect(context_, pw_properties_new(PW_KEY_REMOTE_NAME, socket.c_str(), nullptr), 0);
    exported_ =
        static_cast<pw_proxy*>(pw_core_export(core_, SPA_TYPE_INTERFACE_Device, &properties_, &device_, 0));
    pw_proxy_add_listener(exported_, &hook_, &Methods::proxyEvents, this);
    pw_thread_loop_start(loop_);
    waitUntil([this] { return pw_proxy_get_bound_id(exported_) != SPA_ID_INVALID; });
}

FakeCard::~FakeCard() {
    pw_thread_loop_stop(loop_);
    spa_hook_remove(&hook_);
    pw_proxy_destroy(exported_);
    pw_core_disconnect(core_);
    pw_context_destroy(context_);
    pw_thread_loop_destroy(loop_);
    pw_deinit();
}

uint32_t FakeCard::globalID() const { return pw_proxy_get_bound_id(exported_); }

FakeCard::Change FakeCard::nextChange() {
    Change result;
    waitUntil([&] {
        if (changes_.empty()) return false;
        result = std::move(changes_.front());
        changes_.pop_front();
        return true;
    });
    return result;
}

bool FakeCard::waitUntil(const std::function<bool()>& condition) {
    timespec deadline{};
    pw_thread_loop_lock(loop_);
    pw_thread_loop_get_time(loop_, &deadline, SPA_NSEC_PER_SEC * 5);
    bool holds = condition();
    while (!holds && pw_thread_loop_timed_wait_full(loop_, &deadline) == 0)
        holds = condition();
    pw_thread_loop_unlock(loop_);
    return holds;
}

void FakeCard::deactivateRoutes() {
    pw_thread_loop_lock(loop_);
    hasRoutes_ = false;
    parameter_.flags ^= SPA_PARAM_INFO_SERIAL;
    announce(SPA_DEVICE_CHANGE_MASK_PARAMS);
    pw_thread_loop_unlock(loop_);
}

void FakeCard::announce(uint64_t changeMask) {
    spa_device_info info{};
    info.change_mask = changeMask;
    info.props = &properties_;
    info.params = &parameter_;
    info.n_params = 1;
    spa_device_emit_info(&listeners_, &info);
}

void FakeCard::answer(int sequence, uint32_t index) const {
    const bool isOutput = index == 1;
    std::array<std::uint8_t, 1024> buffer{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, buffer.data(), buffer.size());
    const auto* param = static_cast<spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamRoute, SPA_PARAM_Route,                      //
        SPA_PARAM_ROUTE_index, SPA_POD_Int(isOutput ? outputRoute : inputRoute),    //
        SPA_PARAM_ROUTE_direction,                                                  //
        SPA_POD_Id(isOutput ? SPA_DIRECTION_OUTPUT : SPA_DIRECTION_INPUT),          //
        SPA_PARAM_ROUTE_device, SPA_POD_Int(isOutput ? profileDevice : 1),          //
        SPA_PARAM_ROUTE_name, SPA_POD_String(isOutput ? "speakers" : "microphone"), //
        SPA_PARAM_ROUTE_available, SPA_POD_Id(SPA_PARAM_AVAILABILITY_yes)));
    spa_result_device_params result{};
    result.id = SPA_PARAM_Route;
    result.index = index;
    result.next = index + 1;
    result.param = const_cast<spa_pod*>(param);
    // Only the one who asks listens at this moment.
    spa_device_emit_result(const_cast<spa_hook_list*>(&listeners_), sequence, 0,
                           SPA_RESULT_TYPE_DEVICE_PARAMS, &result);
}

} // namespace velto
