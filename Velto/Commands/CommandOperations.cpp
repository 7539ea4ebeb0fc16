#include "Velto/Commands/CommandOperations.h"

#include "Velto/Commands/CommandNames.h"
#include "Velto/Commands/CommandStatus.h"
#include "Velto/Commands/CommandTable.h"
#include "VeltoCore/Async/Cancellation.h"
#include "VeltoCore/Settings/PresetName.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

namespace velto {

namespace {

/// After it something hangs that should not.
constexpr std::chrono::seconds longestWait{60};

CommandFailure wrongUsage(const std::string& sentence) {
    return CommandFailure(sentence, CommandFailure::Kind::wrongUsage);
}

std::string presetName(std::string_view typed) {
    if (const auto problem = presetNameProblem(typed)) throw wrongUsage(std::string(*problem));
    if (!isPresetName(typed)) throw wrongUsage("A preset needs a name.");
    return std::string(trimmed(typed));
}

} // namespace

CommandOperations::Operation CommandOperations::operation(const std::string& command) {
    using Self = CommandOperations;
    static const std::map<std::string, Operation> operations{
        {"outputs", &Self::outputs},
        {"status", &Self::status},
        {"play", &Self::play},
        {"stop", &Self::stop},
        {"toggle", &Self::toggle},
        {"reconnect", &Self::reconnect},
        {"answer", &Self::answer},
        {"reset", &Self::reset},
        {"volume", &Self::volume},
        {"mute", &Self::mute},
        {"delay", &Self::delay},
        {"inputs", &Self::inputs},
        {"presets", &Self::presets},
        {"presets save", &Self::savePreset},
        {"presets rename", &Self::renamePreset},
        {"presets delete", &Self::deletePreset},
        {"presets favourite", &Self::favoritePreset},
        {"presets auto-connect", &Self::autoConnectPreset},
        {"settings", &Self::settings},
        {"settings get", &Self::getSetting},
        {"settings set", &Self::setSetting},
        {"test", &Self::test},
        {"quit", &Self::quit},
    };
    return operations.at(command);
}

void CommandOperations::require(const CommandRequest& request) {
    const Command* known = findCommand(request.command);
    if (!known) throw wrongUsage(fmt::format("There is no command “{}”.", request.command));
    const auto needed = std::ranges::count(known->arguments, false, &CommandArgument::isOptional);
    const std::size_t given = request.arguments.size();
    if (given < static_cast<std::size_t>(needed) || given > known->arguments.size())
        throw wrongUsage(fmt::format("“{}” was given {} arguments.", request.command, given));
}

Task<JSON> CommandOperations::perform(CommandRequest request, Progress progress) {
    co_await until([this] { return app_.isLaunched() || app_.isShuttingDown(); });
    if (app_.isShuttingDown()) throw CommandFailure("Velto is about to end.");
    const ContinuousInstant begin = app_.actor().continuousNow();
    JSON answer = request.command == "align"
                      ? co_await align(std::move(request.arguments), std::move(progress))
                      : co_await (this->*operation(request.command))(std::move(request.arguments));
    const std::chrono::duration<double, std::milli> taken = app_.actor().continuousNow() - begin;
    answer["milliseconds"] = taken.count();
    co_return answer;
}

// Waiting

Task<bool> CommandOperations::until(std::function<bool()> condition) {
    MainActor& actor = app_.actor();
    const ContinuousInstant deadline = actor.continuousNow() + longestWait;
    while (!condition()) {
        if (actor.continuousNow() >= deadline) co_return false;
        CancellationSource changed;
        const auto tell = [&changed] { changed.cancel(); };
        const Subscription launched = app_.observeLaunch(tell);
        const Subscription shown = app_.menuBar().observe(tell);
        const Subscription tested = app_.syncTestPlayer().observeIsPlaying(tell);
        const Subscription measured = app_.alignment().observe(tell);
        co_await actor.sleep(deadline - actor.continuousNow(), changed.token());
    }
    co_return true;
}

Task<void> CommandOperations::settled() {
    const DualOutputCoordinator& coordinator = app_.coordinator();
    const bool isSettled =
        co_await until([&] { return !coordinator.state().isBusy() && !coordinator.isReconnecting(); });
    if (!isSettled) throw CommandFailure("Velto is busy with something that doesn't end.");
}

void CommandOperations::requireSession() const {
    if (!app_.coordinator().state().isActive()) throw CommandFailure("Nothing plays together.");
}

void CommandOperations::failed(const std::string& otherwise) const {
    if (const auto trouble = app_.menuBar().soundServerTrouble()) throw CommandFailure(std::string(*trouble));
    const auto text = app_.menuBar().errorText();
    if (!text) throw CommandFailure(otherwise);
    const auto advice = app_.menuBar().recoveryText();
    const bool isSentence = text->ends_with('.');
    throw CommandFailure(*text + (advice ? (isSentence ? " " : ". ") + *advice : isSentence ? "" : "."));
}

// Telling

Task<JSON> CommandOperations::outputs(Arguments) { co_return outputsOf(app_); }
Task<JSON> CommandOperations::status(Arguments) { co_return statusOf(app_); }

// Playing

Task<JSON> CommandOperations::play(Arguments arguments) {
    co_await settled();
    if (arguments.size() == 1) {
        co_await playPreset(presetCalled(arguments.front(), userPresets()));
    } else {
        const auto& outputs = app_.menuBar().selectableDevices();
        const auto trouble = app_.menuBar().soundServerTrouble();
        if (outputs.empty() && trouble) throw CommandFailure(std::string(*trouble));
        co_await playOn(outputCalled(arguments[0], outputs), outputCalled(arguments[1], outputs));
    }
    co_return statusOf(app_);
}

Task<void> CommandOperations::playOn(AudioOutputDevice first, AudioOutputDevice second) {
    if (first.uid == second.uid)
        throw CommandFailure(fmt::format("Both are {}; choose two outputs.", first.name));
    co_await app_.coordinator().startDualOutput(first, second);
    const auto session = app_.coordinator().state().session();
    if (!session || session->first.uid != first.uid || session->second.uid != second.uid)
        failed("Something else was begun meanwhile.");
}

Task<void> CommandOperations::playPreset(AudioPreset preset) {
    co_await app_.coordinator().activatePreset(preset);
    if (app_.coordinator().activePresetID() != preset.id) failed("Something else was begun meanwhile.");
}

Task<JSON> CommandOperations::stop(Arguments) {
    co_await settled();
    co_await app_.coordinator().stopDualOutput();
    if (!app_.coordinator().state().is<AudioSessionState::Idle>())
        failed("Something else was begun meanwhile.");
    co_return statusOf(app_);
}

Task<JSON> CommandOperations::toggle(Arguments arguments) {
    co_await settled();
    if (app_.coordinator().state().isActive()) co_return co_await stop(std::move(arguments));
    const auto first = app_.menuBar().firstDevice();
    const auto second = app_.menuBar().secondDevice();
    if (!first || !second) throw CommandFailure("No two outputs are chosen that are there.");
    co_await playOn(*first, *second);
    co_return statusOf(app_);
}

Task<JSON> CommandOperations::reconnect(Arguments) {
    co_await settled();
    requireSession();
    co_await app_.coordinator().reconnect();
    if (!app_.coordinator().state().is<AudioSessionState::Active>()) failed("An output is missing.");
    co_return statusOf(app_);
}

Task<JSON> CommandOperations::answer(Arguments arguments) {
    if (!app_.menuBar().disconnectQuestion()) throw CommandFailure("Nothing is asked.");
    const bool keepsPlaying = arguments.front() == "keep";
    if (!keepsPlaying && arguments.front() != "stop")
        throw wrongUsage(fmt::format("“{}” is neither “keep” nor “stop”.", arguments.front()));
    co_await app_.coordinator().resolveDisconnect(keepsPlaying);
    if (!keepsPlaying && app_.coordinator().state().isActive()) failed("It could not be stopped.");
    co_return statusOf(app_);
}

Task<JSON> CommandOperations::reset(Arguments) {
    co_await settled();
    co_await app_.settings().resetAudioConfiguration();
    if (app_.coordinator().state().isActive()) failed("Something else was begun meanwhile.");
    co_return statusOf(app_);
}

// Volume

std::vector<OutputCard> CommandOperations::playing(const Arguments& words) {
    requireSession();
    std::vector<OutputCard> cards = app_.menuBar().outputCards();
    if (words.empty()) return cards;
    std::vector<AudioOutputDevice> outputs;
    outputs.reserve(cards.size());
    for (const OutputCard& card : cards)
        outputs.push_back(
            AudioOutputDevice::disconnected(card.output.uid, card.output.name, AudioTransportType()));
    const std::string uid = outputCalled(words.front(), outputs).uid;
    std::erase_if(cards, [&](const OutputCard& card) { return card.output.uid != uid; });
    return cards;
}

Task<JSON> CommandOperations::volume(Arguments arguments) {
    const VolumeChange change = volumeChange(arguments.front());
    arguments.erase(arguments.begin());
    const std::vector<OutputCard> cards = playing(arguments);
    if (std::ranges::none_of(cards, &OutputCard::hasVolume))
        throw CommandFailure(arguments.empty() ? "No output that plays has a volume."
                                               : fmt::format("{} has no volume.", cards.front().output.name));
    MenuBarViewModel& menuBar = app_.menuBar();
    if (arguments.empty()) {
        menuBar.setMasterVolume(change.isStep ? menuBar.masterVolume() + change.value : change.value);
    } else {
        const OutputCard& card = cards.front();
        menuBar.setVolume(change.isStep ? card.volume + change.value : change.value, card.output.uid);
    }
    co_return statusOf(app_);
}

Task<JSON> CommandOperations::mute(Arguments arguments) {
    const std::string word = arguments.front();
    arguments.erase(arguments.begin());
    std::vector<OutputCard> cards = playing(arguments);
    std::erase_if(cards, [](const OutputCard& card) { return !card.canMute; });
    if (cards.empty()) throw CommandFailure("It can't be muted.");
    const bool isMuted = switched(std::ranges::all_of(cards, &OutputCard::isMuted), word);
    app_.volumeController().together([&] {
        for (const OutputCard& card : cards)
            if (card.isMuted != isMuted) app_.menuBar().toggleMute(card.output.uid);
    });
    co_return statusOf(app_);
}

// Delay

Task<JSON> CommandOperations::delay(Arguments arguments) {
    const DelayChange change = delayChange(arguments.front());
    const std::string uid = playing({arguments.back()}).front().output.uid;
    if (!app_.inStep().isSupported()) throw CommandFailure("Outputs can't be delayed on this system.");
    const double now = app_.inStep().delay(uid).value_or(0);
    app_.inStep().setDelay(change.isStep ? now + change.value : change.value, uid);
    co_return statusOf(app_);
}

Task<JSON> CommandOperations::inputs(Arguments) { co_return inputsOf(app_); }

Task<JSON> CommandOperations::align(Arguments arguments, Progress progress) {
    SessionAlignment& alignment = app_.alignment();
    if (alignment.isRunning()) throw CommandFailure("The outputs are being measured already.");
    const std::string input = arguments.empty() ? "" : inputCalled(arguments[0], alignment.inputs()).uid;
    alignment.start(input);
    std::optional<AlignmentRun::Progress> told;
    const Subscription shown = alignment.observe([&] {
        const auto now = alignment.state().progress;
        const bool isNews = now && (!told || now->step != told->step || now->input != told->input);
        if (isNews && !now->input.empty()) progress(alignmentProgressOf(*now));
        told = now;
    });
    if (!co_await until([&] { return !alignment.isRunning(); }))
        throw CommandFailure("Velto is busy with something that doesn't end.");
    const auto& end = alignment.state().end;
    if (!end || !end->alignment)
        throw CommandFailure(end ? end->sentence : "Something else was begun meanwhile.");
    co_return alignmentOf(*end);
}

// Presets

Task<JSON> CommandOperations::presets(Arguments) { co_return presetsOf(app_); }

Task<JSON> CommandOperations::savePreset(Arguments arguments) {
    const std::string name = presetName(arguments.front());
    co_await settled();
    requireSession();
    app_.coordinator().saveCurrentSessionAsPreset(name);
    co_return presetsOf(app_);
}

Task<JSON> CommandOperations::renamePreset(Arguments arguments) {
    const std::string name = presetName(arguments[1]);
    app_.preferences().renamePreset(presetCalled(arguments[0], userPresets()).id, name);
    co_return presetsOf(app_);
}

Task<JSON> CommandOperations::deletePreset(Arguments arguments) {
    app_.presets().deletePreset(presetCalled(arguments[0], userPresets()).id);
    co_return presetsOf(app_);
}

Task<JSON> CommandOperations::favoritePreset(Arguments arguments) {
    const AudioPreset preset = presetCalled(arguments[0], userPresets());
    const bool isFavorite = arguments.size() < 2 || switched(preset.isFavorite, arguments[1]);
    app_.preferences().setFavorite(isFavorite, preset.id);
    co_return presetsOf(app_);
}

Task<JSON> CommandOperations::autoConnectPreset(Arguments arguments) {
    const AudioPreset preset = presetCalled(arguments[0], userPresets());
    const bool isOn = arguments.size() < 2 || switched(preset.autoConnect, arguments[1]);
    app_.preferences().setAutoConnect(isOn, preset.id);
    co_return presetsOf(app_);
}

// The rest

Task<JSON> CommandOperations::test(Arguments) {
    app_.settings().startSyncTest();
    if (!app_.settings().isSyncTestRunning()) throw CommandFailure("The sync test could not be started.");
    co_await until([this] { return !app_.settings().isSyncTestRunning(); });
    co_return statusOf(app_);
}

Task<JSON> CommandOperations::quit(Arguments) {
    JSON answer = statusOf(app_);
    quit_();
    co_return answer;
}

} // namespace velto
