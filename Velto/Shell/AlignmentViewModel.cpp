#include "Velto/Shell/AlignmentViewModel.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace velto {

namespace {

using Step = AlignmentRun::Step;

std::string text(const AlignmentRun::Progress& progress) {
    switch (progress.step) {
    case Step::opening:
        return "Opening the microphone…";
    case Step::measuring:
        return fmt::format("Both outputs play, and {} listens…", progress.input);
    case Step::confirming:
        return "One output is delayed, and both play once more…";
    }
    return {};
}

AlignmentArrival arrival(const Alignment& alignment, std::size_t place) {
    const auto after = [place](const AlignmentMeasurement& measured) {
        return std::max(place == 0 ? -measured.milliseconds() : measured.milliseconds(), 0.0);
    };
    return {.name = alignment.outputs[place].name,
            .before = after(alignment.before),
            .after = after(alignment.after)};
}

} // namespace

AlignmentViewModel::AlignmentViewModel(SessionAlignment& alignment, DualOutputCoordinator& coordinator,
                                       AudioDeviceManager& deviceManager, MainActor& actor)
    : changes_(actor), alignment_(alignment), coordinator_(coordinator) {
    changes_.keep(alignment.observe([this] {
        isOfThisSession_ = true;
        changes_.announce();
    }));
    changes_.keep(coordinator.observe([this] {
        if (!coordinator_.state().isActive() && !coordinator_.isReconnecting()) isOfThisSession_ = false;
        changes_.announce();
    }));
    changes_.keep(deviceManager.observeDevices(changes_.handler()));
}

std::vector<SessionAlignment::Input> AlignmentViewModel::inputs() const {
    std::vector<SessionAlignment::Input> inputs{{"", "System’s input"}};
    if (isPossible()) std::ranges::move(alignment_.inputs(), std::back_inserter(inputs));
    return inputs;
}

bool AlignmentViewModel::canStart() const {
    return isPossible() && !isRunning() && coordinator_.state().is<AudioSessionState::Active>() &&
           !coordinator_.isReconnecting();
}

void AlignmentViewModel::start() {
    if (canStart()) alignment_.start(inputUID_);
}

std::string AlignmentViewModel::progressText() const {
    const auto& progress = alignment_.state().progress;
    return progress ? text(*progress) : std::string();
}

float AlignmentViewModel::level() const {
    const auto& progress = alignment_.state().progress;
    return progress ? progress->level : 0;
}

const SessionAlignment::End* AlignmentViewModel::end() const {
    const auto& end = alignment_.state().end;
    return end && isOfThisSession_ ? &*end : nullptr;
}

std::optional<std::string> AlignmentViewModel::result() const {
    return end() ? std::optional(end()->sentence) : std::nullopt;
}

bool AlignmentViewModel::hasFailed() const { return end() && !end()->alignment; }

std::vector<AlignmentArrival> AlignmentViewModel::arrivals() const {
    if (!end() || !end()->alignment) return {};
    return {arrival(*end()->alignment, 0), arrival(*end()->alignment, 1)};
}

double AlignmentViewModel::latestShown() const {
    double latest = 1;
    for (const AlignmentArrival& arrival : arrivals())
        latest = std::max({latest, arrival.before, arrival.after});
    const double decade = std::pow(10, std::floor(std::log10(latest)));
    for (const double part : {1, 2, 5})
        if (latest <= part * decade) return part * decade;
    return 10 * decade;
}

} // namespace velto
