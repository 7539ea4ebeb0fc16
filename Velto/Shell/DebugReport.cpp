#include "Velto/Shell/DebugReport.h"

#include "Velto/Shell/BundleInfo.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Aggregate/ClockStrategy.h"
#include "VeltoCore/Aggregate/PreferredSampleRate.h"
#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <cmath>
#include <cstdint>
#include <iterator>

namespace velto {

namespace {

constexpr std::string_view missing = "—";

/// In whole hertz, cut off.
std::string hertz(double rate) {
    constexpr double limit = 1e15; // beyond it a whole number may not hold it
    if (!(std::abs(rate) < limit)) return std::string(missing);
    return std::to_string(static_cast<std::int64_t>(rate)) + " Hz";
}

std::string frames(std::optional<std::int64_t> count) {
    return count ? std::to_string(*count) + " frames" : "not reported";
}

struct StatusDescription {
    using State = AudioSessionState;
    std::string operator()(const State::Idle&) const { return "idle"; }
    std::string operator()(const State::Starting&) const { return "starting"; }
    std::string operator()(const State::Stopping&) const { return "stopping"; }
    std::string operator()(const State::Active&) const { return "playing together"; }
    std::string operator()(const State::Degraded& state) const {
        return "degraded (" + state.missing.name + " missing)";
    }
    std::string operator()(const State::Failed& state) const {
        return "failed: " + state.error.errorDescription();
    }
};

void append(std::vector<DebugRow>& rows, std::vector<DebugRow> more) {
    rows.insert(rows.end(), std::move_iterator(more.begin()), std::move_iterator(more.end()));
}

} // namespace

std::vector<DebugRow> DebugReport::rows() const {
    std::vector<DebugRow> rows = generalRows();
    append(rows, sessionRows());
    if (const auto session = coordinator_.state().session()) {
        for (const AudioOutputDevice& device : session->devices())
            append(rows, DebugReport::rows(device));
    }
    if (const auto& error = coordinator_.lastError())
        rows.push_back({"Last Error", error->errorDescription()});
    return rows;
}

std::string DebugReport::text() const {
    std::string text = "Velto Debug Information";
    for (const DebugRow& row : rows())
        text += "\n" + row.title + ": " + row.value;
    return text;
}

std::vector<DebugRow> DebugReport::generalRows() const {
    const auto& output = deviceManager_.defaultOutputDevice();
    return {{"Velto Version", shortVersion(host_) + " (" + buildNumber(host_) + ")"},
            {"macOS", host_.operatingSystemVersion()},
            {"Status", std::visit(StatusDescription{}, coordinator_.state().kind())},
            {"Sync Engine", std::string(coordinator_.syncEngine().name())},
            {"Current Default Output", output ? output->name + " [" + output->uid + "]" : "unknown"}};
}

std::vector<DebugRow> DebugReport::sessionRows() const {
    const auto session = coordinator_.state().session();
    const auto ofSession = [&](auto value) { return session ? value(*session) : std::string(missing); };
    return {{"Aggregate Device UID",
             session ? session->aggregateUID : std::string(AggregateDeviceManager::aggregateUID)},
            {"Aggregate Device ID",
             ofSession([](const auto& running) { return std::to_string(running.aggregateDeviceID); })},
            {"Group Sample Rate", ofSession([](const auto& running) { return hertz(running.sampleRate); })},
            {"Clock Master", ofSession([](const auto& running) { return running.masterUID; })},
            {"Clock Strategy", std::string(title(preferences_.clockStrategy()))},
            {"Preferred Sample Rate", std::string(title(preferences_.preferredSampleRate()))},
            {"Disconnect Behavior", std::string(title(preferences_.disconnectBehavior()))}};
}

std::vector<DebugRow> DebugReport::rows(const AudioOutputDevice& ofDevice) {
    const auto row = [&](std::string_view suffix, std::string value) {
        return DebugRow{ofDevice.name + std::string(suffix), std::move(value)};
    };
    return {row(" — UID", ofDevice.uid),
            row(" — Device ID", std::to_string(ofDevice.deviceID)),
            row(" — Transport", ofDevice.transportType.displayName()),
            row(" — Manufacturer", ofDevice.manufacturer.value_or("unknown")),
            row(" — Sample Rate", hertz(ofDevice.sampleRate)),
            row(" — Latency", frames(ofDevice.latencyFrames)),
            row(" — Safety Offset", frames(ofDevice.safetyOffsetFrames)),
            row(" — Volume Control", ofDevice.hasVolumeControl.value_or(false) ? "yes" : "no")};
}

} // namespace velto
