#include "Platform/Linux/PipeWire/PipeWireConnection.h"

#include "Platform/Linux/Delay/AudioThread.h"
#include "Platform/Linux/Delay/ClientLibrary.h"
#include "Platform/Linux/Delay/RemoteServer.h"
#include "VeltoCore/Services/LoggingService.h"

#include <pipewire/impl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace velto {

namespace {

constexpr Backoff::Pauses retryPauses{.first = std::chrono::milliseconds(50),
                                      .longest = std::chrono::seconds(2)};
constexpr std::chrono::milliseconds questionInterval{50};
/// A question that was open for so long when a call gave up makes the server one that hangs.
constexpr std::chrono::milliseconds hangingAfter{300};
/// So long nobody waits: then a witness is asked, and another one, after twice that time, as long as it
/// takes. One may have been forgotten itself.
constexpr std::chrono::seconds witnessAfter{1};
constexpr std::chrono::seconds longestWitnessTime{16};

/// Nothing of what clients usually load is needed to look on and to give orders, but these two: no streams,
/// no devices of its own, no session manager's interfaces, no bus, and no audio thread. Null, and errno,
/// where that can't be had.
pw_context* makeContext(pw_loop* loop) {
    pw_context* const context = pw_context_new(
        loop, pw_properties_new(PW_KEY_CONFIG_NAME, "null", "support.dbus", "false", nullptr), 0);
    if (!context) return nullptr;
    stopAudioThread(context);
    for (const char* module : {"libpipewire-module-protocol-native", "libpipewire-module-metadata"}) {
        if (pw_context_load_module(context, module, nullptr, nullptr)) continue;
        const int reason = errno;
        pw_context_destroy(context);
        errno = reason;
        return nullptr;
    }
    return context;
}

} // namespace

struct PipeWireConnection::Hooks {
    spa_hook core{};

    static void done(void* data, uint32_t id, int sequence) {
        if (id == PW_ID_CORE) static_cast<PipeWireConnection*>(data)->answered(sequence);
    }
    static void error(void* data, uint32_t id, int, int result, const char* message) {
        auto& self = *static_cast<PipeWireConnection*>(data);
        // Errors of single objects, such as a parameter that can't be read while suspended, are no loss.
        if (id != PW_ID_CORE || result != -EPIPE) return;
        LoggingService::audioDevices.notice("The sound server is gone: {}", message ? message : "");
        self.lose();
    }
    static constexpr pw_core_events events = [] {
        pw_core_events table{};
        table.version = PW_VERSION_CORE_EVENTS;
        table.done = done;
        table.error = error;
        return table;
    }();
};

PipeWireConnection::PipeWireConnection(MainActor& actor, FileDescriptorWatcher& watcher, std::string remote,
                                       Delegate& delegate)
    : actor_(actor), watcher_(watcher), remote_(std::move(remote)), delegate_(delegate),
      hooks_(std::make_unique<Hooks>()), retry_(actor, retryPauses, [this] { connect(); }) {
    beginWithClientLibrary();
    loop_ = pw_loop_new(nullptr);
    if (loop_) context_ = makeContext(loop_);
    if (!context_) {
        LoggingService::audioDevices.error("The sound server's client library could not start: {}",
                                           std::strerror(errno));
        return;
    }
    watcher_.watchReadable(pw_loop_get_fd(loop_), [this] { serve(Duration::zero()); });
}

PipeWireConnection::~PipeWireConnection() {
    disconnect();
    if (context_) {
        watcher_.unwatch(pw_loop_get_fd(loop_));
        pw_context_destroy(context_);
    }
    if (loop_) pw_loop_destroy(loop_);
    pw_deinit();
}

void PipeWireConnection::connect() {
    if (core_ || !context_) return;
    core_ = connectTo(remote_, context_);
    if (!core_) return retry_.askLater();
    isLost_ = false;
    retry_.reset();
    pw_core_add_listener(core_, &hooks_->core, &Hooks::events, this);
    registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
    delegate_.connectionMade(core_, registry_);
}

void PipeWireConnection::disconnect() {
    retry_.reset();
    if (!core_) return;
    spa_hook_remove(&hooks_->core);
    questions_.clear();
    isHanging_ = false;
    if (watch_) actor_.cancelTimer(*std::exchange(watch_, std::nullopt));
    witness_.reset();
    if (registry_) pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
    pw_core_disconnect(core_);
    registry_ = nullptr;
    core_ = nullptr;
}

void PipeWireConnection::lose() {
    if (std::exchange(isLost_, true)) return;
    // The proxies can't be dropped from within the callback that brought the news.
    actor_.post(lifetime_.whileAlive([this] {
        if (!isLost_) return;
        delegate_.connectionLost();
        disconnect();
        retry_.askLater();
    }));
}

void PipeWireConnection::serve(Duration longestWait) {
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(longestWait).count();
    pw_loop_enter(loop_);
    const int result = pw_loop_iterate(loop_, static_cast<int>(milliseconds));
    pw_loop_leave(loop_);
    if (result < 0 && result != -EINTR && core_) lose();
}

void PipeWireConnection::whenAnswered(std::function<void()> answered) {
    if (!isConnected()) return;
    questions_.push_back({pw_core_sync(core_, PW_ID_CORE, 0), actor_.continuousNow(), std::move(answered)});
    if (watch_) return;
    witnessTime_ = witnessAfter;
    watchLater(witnessAfter);
}

void PipeWireConnection::watchAnswers() {
    if (questions_.empty()) whenAnswered({});
}

bool PipeWireConnection::isUnansweredFor(Duration duration) const {
    return !questions_.empty() && actor_.continuousNow() - questions_.front().askedAt >= duration;
}

void PipeWireConnection::watchLater(Duration delay) {
    watch_ = actor_.postAfter(delay, [this] {
        watch_.reset();
        witness_.reset();
        if (isUnansweredFor(witnessAfter))
            callWitness();
        else if (!questions_.empty())
            watchLater(witnessAfter);
    });
}

void PipeWireConnection::callWitness() {
    witness_.emplace(context_, remote_, [this] {
        // What it was asked to witness may have been answered in the same turn.
        actor_.post(lifetime_.whileAlive([this] {
            if (!witness_ || !isUnansweredFor(witnessAfter)) return;
            LoggingService::audioDevices.notice("The sound server has forgotten Velto: connecting anew");
            lose();
        }));
    });
    watchLater(witnessTime_);
    witnessTime_ = std::min<Duration>(witnessTime_ * 2, longestWitnessTime);
}

void PipeWireConnection::answered(int sequence) {
    const auto question = std::ranges::find(questions_, sequence, &Question::sequence);
    if (question == questions_.end()) return; // others on this connection ask too
    const auto answered = std::move(question->answered);
    questions_.erase(question);
    const bool wasHanging = isHanging_ && questions_.empty();
    if (wasHanging) isHanging_ = false;
    if (answered) answered();
    if (!wasHanging) return;
    LoggingService::audioDevices.notice("The sound server answers again");
    delegate_.connectionAnswers();
}

bool PipeWireConnection::roundTrip(Duration deadline) {
    const auto isAnswered = std::make_shared<bool>(false);
    if (isSilent()) return false;
    whenAnswered([isAnswered] { *isAnswered = true; });
    return waitUntil([&] { return *isAnswered; }, deadline);
}

bool PipeWireConnection::waitUntil(const std::function<bool()>& condition, Duration deadline) {
    if (!isConnected() || condition()) return isConnected();
    if (isHanging_) return false;
    const ContinuousInstant end = actor_.continuousNow() + deadline;
    ContinuousInstant nextQuestion = actor_.continuousNow();
    while (isConnected()) {
        const ContinuousInstant now = actor_.continuousNow();
        if (now >= end) break;
        // Who waits in vain is to know whether the server answers at all, also later.
        if (questions_.empty() && now >= nextQuestion) {
            whenAnswered({});
            nextQuestion = now + questionInterval;
        }
        serve(std::min(end, std::max(nextQuestion, now + questionInterval)) - now);
        if (condition()) return true;
    }
    if (isUnansweredFor(hangingAfter)) {
        isHanging_ = true;
        LoggingService::audioDevices.error("The sound server does not answer");
    }
    return false;
}

} // namespace velto
