#include "Velto/Commands/CommandStatus.h"

#include "Velto/Shell/BundleInfo.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace velto {

namespace {

struct StateName {
    using State = AudioSessionState;
    std::string_view operator()(const State::Idle&) const { return "idle"; }
    std::string_view operator()(const State::Starting&) const { return "starting"; }
    std::string_view operator()(const State::Active&) const { return "playing"; }
    std::string_view operator()(const State::Degraded&) const { return "degraded"; }
    std::string_view operator()(const State::Stopping&) const { return "stopping"; }
    std::string_view operator()(const State::Failed&) const { return "failed"; }
};

template <class Value>
JSON orNull(const std::optional<Value>& value) {
    return value ? JSON(*value) : JSON();
}

/// To the thousandth: a float tells more digits than it has.
JSON volume(float value) { return std::round(static_cast<double>(value) * 1000) / 1000; }

double toTheMicrosecond(double milliseconds) { return std::round(milliseconds * 1000) / 1000; }

JSON outputOf(const OutputCard& card, const InStepViewModel& inStep) {
    return {{"uid", card.output.uid},
            {"name", card.output.name},
            {"isConnected", card.output.isConnected},
            {"volume", card.hasVolume ? volume(card.volume) : JSON()},
            {"isMuted", card.canMute ? JSON(card.isMuted) : JSON()},
            {"delay", orNull(inStep.delay(card.output.uid))}};
}

JSON questionOf(const MenuBarViewModel& menuBar, const DualOutputCoordinator& coordinator) {
    const auto& lost = coordinator.pendingDisconnectDecision();
    if (!menuBar.disconnectQuestion() || !lost) return {};
    return {{"uid", lost->uid}, {"name", lost->name}};
}

JSON activePreset(AppState& app) {
    const auto& id = app.coordinator().activePresetID();
    const auto preset = id ? app.preferences().preset(*id) : std::nullopt;
    return preset ? JSON(preset->name) : JSON();
}

} // namespace

JSON answerOfThisVersion() { return {{"version", commandVersion}}; }

JSON statusOf(AppState& app) {
    MenuBarViewModel& menuBar = app.menuBar();
    const DualOutputCoordinator& coordinator = app.coordinator();
    JSON outputs = JSON::array();
    for (const OutputCard& card : menuBar.outputCards())
        outputs.push_back(outputOf(card, app.inStep()));
    const auto& heard = app.deviceManager().defaultOutputDevice();
    JSON status = answerOfThisVersion();
    status["velto"] = shortVersion(app.host());
    status["state"] = coordinator.isReconnecting() ? std::string_view("reconnecting")
                                                   : std::visit(StateName{}, coordinator.state().kind());
    status["title"] = menuBar.statusTitle();
    status["volume"] = menuBar.hasMasterVolume() ? volume(menuBar.masterVolume()) : JSON();
    status["preset"] = activePreset(app);
    status["question"] = questionOf(menuBar, coordinator);
    const auto trouble = menuBar.errorText();
    status["trouble"] = trouble ? JSON(*trouble) : orNull(menuBar.soundServerTrouble());
    status["advice"] = orNull(menuBar.recoveryText());
    status["isTesting"] = app.syncTestPlayer().isPlaying();
    status["defaultOutput"] = heard ? JSON(heard->uid) : JSON();
    status["outputs"] = std::move(outputs);
    return status;
}

JSON outputsOf(AppState& app) {
    const auto& heard = app.deviceManager().defaultOutputDevice();
    const auto session = app.coordinator().state().session();
    JSON list = JSON::array();
    for (const AudioOutputDevice& output : app.menuBar().selectableDevices())
        list.push_back({{"uid", output.uid},
                        {"name", output.name},
                        {"transport", output.transportType.displayName()},
                        {"sampleRate", output.sampleRate},
                        {"channels", output.outputChannelCount},
                        {"isDefault", heard && heard->uid == output.uid},
                        {"isPlaying", session && (session->first.uid == output.uid ||
                                                  session->second.uid == output.uid)}});
    JSON answer = answerOfThisVersion();
    answer["outputs"] = std::move(list);
    return answer;
}

JSON presetsOf(AppState& app) {
    JSON list = JSON::array();
    for (const PresetRow& row : app.presets().presetRows()) {
        const auto preset = app.preferences().preset(row.id);
        JSON outputs = JSON::array();
        for (const auto* output : {&preset->first, &preset->second}) {
            const auto settings = preset->deviceSettings.find(output->uid);
            const bool hasVolume = settings != preset->deviceSettings.end() && settings->second.volume;
            outputs.push_back({{"uid", output->uid},
                               {"name", output->name},
                               {"volume", hasVolume ? volume(*settings->second.volume) : JSON()}});
        }
        list.push_back({{"id", row.id.string()},
                        {"name", row.name},
                        {"isReady", row.isReady},
                        {"isFavorite", row.isFavorite},
                        {"isAutoConnect", row.isAutoConnect},
                        {"isActive", row.isActive},
                        {"outputs", std::move(outputs)}});
    }
    JSON answer = answerOfThisVersion();
    answer["presets"] = std::move(list);
    return answer;
}

JSON inputsOf(AppState& app) {
    JSON list = JSON::array();
    for (const SessionAlignment::Input& input : app.alignment().inputs())
        list.push_back({{"uid", input.uid}, {"name", input.name}});
    JSON answer = answerOfThisVersion();
    answer["inputs"] = std::move(list);
    return answer;
}

JSON alignmentOf(const SessionAlignment::End& end) {
    const Alignment& alignment = *end.alignment;
    JSON outputs = JSON::array();
    for (const std::size_t place : {0U, 1U}) {
        const auto arrival = [&](const AlignmentMeasurement& measured) {
            const double late = place == 0 ? -measured.milliseconds() : measured.milliseconds();
            return toTheMicrosecond(std::max(late, 0.0));
        };
        const AlignedOutput& output = alignment.outputs[place];
        outputs.push_back({{"uid", output.uid},
                           {"name", output.name},
                           {"lateBefore", arrival(alignment.before)},
                           {"lateAfter", arrival(alignment.after)},
                           {"delay", alignment.delays.at(output.uid)}});
    }
    JSON answer = answerOfThisVersion();
    answer["alignment"] = {{"sentence", end.sentence}, {"outputs", std::move(outputs)}};
    return answer;
}

JSON alignmentProgressOf(const AlignmentRun::Progress& progress) {
    JSON answer = answerOfThisVersion();
    answer["progress"] = {{"step", progress.step == AlignmentRun::Step::opening     ? "opening"
                                   : progress.step == AlignmentRun::Step::measuring ? "measuring"
                                                                                    : "confirming"},
                          {"input", progress.input}};
    return answer;
}

} // namespace velto
