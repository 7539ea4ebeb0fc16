#include "Velto/Shell/DebugReport.h"

#include "Velto/Shell/BundleInfo.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Aggregate/ClockStrategy.h"
#include "VeltoCore/Aggregate/PreferredSampleRate.h"
#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <utility>

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
    const ReportedNames& names;

    std::string operator()(const State::Idle&) const { return "idle"; }
    std::string operator()(const State::Starting&) const { return "starting"; }
    std::string operator()(const State::Stopping&) const { return "stopping"; }
    std::string operator()(const State::Active&) const { return "playing together"; }
    std::string operator()(const State::Degraded& state) const {
        return "degraded (" + names.name(state.missing) + " missing)";
    }
    std::string operator()(const State::Failed& state) const {
        return "failed: " + names.description(state.error);
    }
};

void append(std::vector<DebugRow>& rows, std::vector<DebugRow> more) {
    rows.insert(rows.end(), std::move_iterator(more.begin()), std::move_iterator(more.end()));
}

} // namespace

std::vector<DebugRow> DebugReport::rows(const ReportedNames& names) const {
    std::vector<DebugRow> rows = generalRows(names);
    append(rows, sessionRows(names));
    if (const auto session = coordinator_.state().session()) {
        for (const AudioOutputDevice& device : session->devices())
            append(rows, DebugReport::rows(device, names));
    }
    if (const auto& error = coordinator_.lastError())
        rows.push_back({"Last Error", names.description(*error)});
    return rows;
}

std::string DebugReport::text(const ReportedNames& names) const {
    std::string text = "Velto Debug Information";
    for (const DebugRow& row : rows(names))
        text += "\n" + row.title + ": " + row.value;
    return text;
}

std::string DebugReport::redactedText() const {
    std::vector<std::pair<std::string, std::string>> known;
    const auto note = [&known](const auto& output) { known.emplace_back(output.uid, output.name); };
    std::ranges::for_each(deviceManager_.devices(), note);
    for (const AudioPreset& preset : preferences_.presets()) {
        note(preset.first);
        note(preset.second);
    }
    if (const auto session = coordinator_.state().session()) std::ranges::for_each(session->devices(), note);
    return text(ReportedNames::redacted(std::move(known)));
}

std::vector<DebugRow> DebugReport::generalRows(const ReportedNames& names) const {
    const auto& output = deviceManager_.defaultOutputDevice();
    std::vector<DebugRow> rows{{"Velto Version", shortVersion(host_) + " (" + buildNumber(host_) + ")"},
                               {std::string(host_.words().systemTitle), host_.operatingSystemVersion()}};
    for (ApplicationHost::SystemDetail& detail : host_.systemDetails())
        rows.push_back({std::move(detail.title), std::move(detail.value)});
    append(rows, {{"Status", std::visit(StatusDescription{names}, coordinator_.state().kind())},
                  {"Sync Engine", std::string(coordinator_.syncEngine().name())},
                  {"Current Default Output",
                   output ? names.name(*output) + " [" + names.uid(output->uid) + "]" : "unknown"}});
    return rows;
}

std::vector<DebugRow> DebugReport::sessionRows(const ReportedNames& names) const {
    const auto session = coordinator_.state().session();
    const auto ofSession = [&](auto value) { return session ? value(*session) : std::string(missing); };
    return {{"Aggregate Device UID",
             session ? session->aggregateUID : std::string(AggregateDeviceManager::aggregateUID)},
            {"Aggregate Device ID",
             ofSession([](const auto& running) { return std::to_string(running.aggregateDeviceID); })},
            {"Group Sample Rate", ofSession([](const auto& running) { return hertz(running.sampleRate); })},
            {"Clock Master", ofSession([&](const auto& running) { return names.uid(running.masterUID); })},
            {"Clock Strategy", std::string(title(preferences_.clockStrategy()))},
            {"Preferred Sample Rate", std::string(title(preferences_.preferredSampleRate()))},
            {"Disconnect Behavior", std::string(title(preferences_.disconnectBehavior()))}};
}

std::vector<DebugRow> DebugReport::rows(const AudioOutputDevice& ofDevice, const ReportedNames& names) {
    const auto row = [&](std::string_view suffix, std::string value) {
        return DebugRow{names.name(ofDevice) + std::string(suffix), std::move(value)};
    };
    return {row(" — UID", names.uid(ofDevice.uid)),
            row(" — Device ID", std::to_string(ofDevice.deviceID)),
            row(" — Transport", ofDevice.transportType.displayName()),
            row(" — Manufacturer", ofDevice.manufacturer.value_or("unknown")),
            row(" — Sample Rate", hertz(ofDevice.sampleRate)),
            row(" — Latency", frames(ofDevice.latencyFrames)),
            row(" — Safety Offset", frames(ofDevice.safetyOffsetFrames)),
            row(" — Volume Control", ofDevice.hasVolumeControl.value_or(false) ? "yes" : "no")};
}

} // namespace velto
