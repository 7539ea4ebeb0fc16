#include "Platform/Linux/PipeWire/PipeWireDelays.h"

#include "Platform/Linux/Delay/DelayNames.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::audioDevices;

constexpr std::size_t mostRestarts = 3;
/// A program that ends now and then is started again for ever.
constexpr Duration memoryOfEnds = std::chrono::minutes(1);

} // namespace

PipeWireDelays::PipeWireDelays(MainActor& actor, FileDescriptorWatcher& watcher, const PipeWireGraph& graph,
                               std::string remote, LostHandler lost)
    : actor_(actor), watcher_(watcher), graph_(graph), remote_(std::move(remote)), lost_(std::move(lost)) {}

PipeWireDelays::Session& PipeWireDelays::session(const std::string& aggregate,
                                                 const std::vector<std::string>& outputs) {
    if (session_ && session_->aggregate == aggregate) return *session_;
    forget();
    session_ = Session{aggregate, outputs, {}, {}};
    for (const std::string& output : outputs)
        session_->delays.emplace(output, 0);
    return *session_;
}

void PipeWireDelays::set(const std::string& aggregate, const std::vector<std::string>& outputs,
                         const OutputDelays& delays) {
    session(aggregate, outputs).delays.clear();
    for (const std::string& output : outputs) {
        const auto wanted = delays.find(output);
        const double delay = wanted == delays.end() ? 0 : wanted->second;
        session_->delays.emplace(output, delay);
        if (delay > 0) session_->delayed.insert(output);
    }
    if (session_->delayed.empty()) return;
    ends_.clear();
    if (helper_) {
        helper_->setDelays(session_->delays);
    } else {
        start();
    }
}

void PipeWireDelays::playSweeps(const std::string& aggregate, const std::vector<std::string>& outputs,
                                const std::string& rising, const std::string& falling, double peak) {
    session(aggregate, outputs).isMeasured = true;
    if (!helper_) start();
    if (helper_) helper_->playSweeps(rising, falling, peak);
}

void PipeWireDelays::endSweeps() {
    if (!session_ || !std::exchange(session_->isMeasured, false)) return;
    std::erase_if(session_->delayed, [this](const auto& output) { return session_->delays.at(output) == 0; });
    if (session_->delayed.empty()) {
        helper_.reset();
    } else if (helper_) {
        helper_->endSweeps();
    }
}

void PipeWireDelays::forget() {
    helper_.reset();
    session_.reset();
    ends_.clear();
}

void PipeWireDelays::graphChanged() {
    if (!session_) return;
    const PipeWireNode* aggregate = graph_.device(session_->aggregate);
    const bool wasRunning = std::exchange(session_->isRunning, aggregate && aggregate->isRunning());
    // What hangs since before would be noticed by nothing else.
    if (helper_ && session_->isRunning && !wasRunning) helper_->expectSound();
}

std::optional<PipeWireDelays::Place> PipeWireDelays::place(const std::string& aggregate,
                                                           const std::string& output) const {
    if (!helper_ || !session_ || session_->aggregate != aggregate) return std::nullopt;
    if (!session_->isMeasured && !session_->delayed.contains(output)) return std::nullopt;
    const auto node = graph_.delayNode(DelayNames::node(aggregate));
    if (!node) return std::nullopt;
    const auto index = std::ranges::find(session_->outputs, output) - session_->outputs.begin();
    return Place{*node, static_cast<std::size_t>(index)};
}

void PipeWireDelays::start() {
    PipeWireDelayHelper::Outputs outputs;
    for (const std::string& output : session_->outputs)
        outputs.emplace_back(output, session_->delays.at(output));
    try {
        helper_.emplace(actor_, watcher_, remote_, session_->aggregate, std::move(outputs),
                        [this](const std::string& why) { ended(why); });
    } catch (const std::exception& error) {
        logger.error("The outputs can't be delayed: {}", error.what());
        actor_.post(lifetime_.whileAlive([this, aggregate = session_->aggregate] { lost_(aggregate); }));
    }
}

void PipeWireDelays::ended(const std::string& why) {
    helper_.reset();
    if (session_->delayed.empty()) return logger.error("What plays the sweeps is gone ({})", why);
    const ContinuousInstant now = actor_.continuousNow();
    while (!ends_.empty() && now - ends_.front() > memoryOfEnds)
        ends_.pop_front();
    ends_.push_back(now);
    const bool isLost = ends_.size() > mostRestarts;
    logger.error("What delays the outputs is gone ({}); {}", why,
                 isLost ? "they play undelayed" : "it is started again");
    if (isLost) {
        lost_(session_->aggregate);
    } else {
        start();
    }
}

} // namespace velto
