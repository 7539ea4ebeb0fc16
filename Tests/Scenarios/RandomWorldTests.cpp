// A random world: users, cables, other programs and failing calls do what they like, and after every quiet
// point the invariants hold.
//
// VELTO_RANDOM_STEPS and VELTO_RANDOM_SEED make it a longer run, or another one; a failure is shrunk to the
// few steps that matter.
#include "Tests/Support/Application.h"

#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;

enum class Act {
    play,
    stop,
    activate,
    savePreset,
    reset,
    dismiss,
    reconnect,
    answer,
    setPreference,
    setVolume,
    volumeChanges,
    plugOrUnplug,
    replugAsAnother,
    pickDefault,
    removeAggregate,
    restartAudioService,
    loseAudioService,
    wake,
    wait,
    failCall,
    failLater,
    worldGetsSlow,
    worldGetsOdd,
    crash,
    quit,
};
constexpr auto lastAct = Act::quit;

constexpr std::array<std::string_view, 25> actNames{"play",
                                                    "stop",
                                                    "activate",
                                                    "savePreset",
                                                    "reset",
                                                    "dismiss",
                                                    "reconnect",
                                                    "answer",
                                                    "setPreference",
                                                    "setVolume",
                                                    "volumeChanges",
                                                    "plugOrUnplug",
                                                    "replugAsAnother",
                                                    "pickDefault",
                                                    "removeAggregate",
                                                    "restartAudioService",
                                                    "loseAudioService",
                                                    "wake",
                                                    "wait",
                                                    "failCall",
                                                    "failLater",
                                                    "worldGetsSlow",
                                                    "worldGetsOdd",
                                                    "crash",
                                                    "quit"};

struct Step {
    Act act;
    int which;
    int other;
    /// Turns of the main loop before the next step; none: until nothing is left to do.
    std::optional<int> turns;
};

std::ostream& operator<<(std::ostream& stream, const Step& step) {
    stream << actNames.at(static_cast<std::size_t>(step.act)) << '(' << step.which << ", " << step.other
           << ')';
    return step.turns ? stream << " and " << *step.turns << " turns" : stream;
}

rc::Gen<Step> anyStep() {
    // Most of the time two outputs are to play, and their cables to be pulled.
    const auto act = rc::gen::weightedOneOf<Act>(
        {{3, rc::gen::element(Act::play, Act::plugOrUnplug, Act::pickDefault, Act::activate)},
         {4, rc::gen::map(rc::gen::inRange(0, static_cast<int>(lastAct) + 1),
                          [](int number) { return static_cast<Act>(number); })}});
    const auto turns = rc::gen::weightedOneOf<std::optional<int>>(
        {{2, rc::gen::just(std::optional<int>())},
         {1, rc::gen::map(rc::gen::inRange(0, 12), [](int turns) { return std::optional(turns); })}});
    const auto step = rc::gen::apply(
        [](Act act, int which, int other, std::optional<int> turns) {
            return Step{act, which, other, turns};
        },
        act, rc::gen::inRange(0, 60), rc::gen::inRange(0, 60), turns);
    return rc::gen::resize(rc::kNominalSize, step); // at a smaller size the ranges are cut short
}

/// Five devices, a program, and what an observer can say about where sound belongs.
class RandomStory {
  public:
    RandomStory() {
        machine_.plugUsualOutputs();
        machine_.world.delaysOutputs = true;
        machine_.world.plug({.uid = "old", .name = "Old Amplifier", .sampleRates = {{44100, 44100}}});
        launch();
    }
    ~RandomStory() { app_.reset(); }

    void take(const Step& step) {
        perform(step);
        isQuiet_ = !step.turns;
        // What is not noticed before the next step happens, or doesn't show by then, may be forgotten.
        const bool isUnnoticed = step.act == Act::pickDefault || step.act == Act::restartAudioService;
        if (!isQuiet_ && (isUnnoticed || isOutputSlow_)) loseTrack();
        if (isQuiet_) {
            machine_.loop.runUntilIdle();
            checkQuietPoint();
        } else {
            for (int turn = 0; turn < *step.turns; ++turn)
                machine_.loop.runNextTurn();
        }
    }

    /// Whatever was, a reset and a quit without failing calls leave nothing behind.
    void end() {
        machine_.loop.runUntilIdle();
        machine_.world.faults = {};
        machine_.world.calls.forgetFailures();
        app_->reset();
        checkQuietPoint();
        RC_ASSERT(app_->isIdle());
        app_->quit();
        app_.reset();
        machine_.loop.runUntilIdle();
        RC_ASSERT(withoutStrays(machine_.leftovers()) == std::vector<std::string>());
    }

  private:
    void launch() {
        app_ = std::make_unique<Application>(machine_);
        app_->launch();
    }
    const std::string& device(int which) const {
        static const std::vector<std::string> uids{"builtin", "usb", "bluetooth", "hdmi", "old"};
        return uids.at(static_cast<std::size_t>(which) % uids.size());
    }
    std::optional<UUID> preset(int which) const {
        const auto& presets = app_->preferences.presets();
        if (presets.empty()) return std::nullopt;
        return presets.at(static_cast<std::size_t>(which) % presets.size()).id;
    }
    /// From here to the next quiet point without a session, sound may go anywhere.
    void loseTrack() {
        home_.reset();
        alertHome_.reset();
    }
    void callsMayFail() {
        mayFail_ = true;
        loseTrack();
    }

    /// What is wrong, but for listeners that could not be added or removed: until the program dies, one that
    /// stays is called, and nobody is told of what one that is missing would have heard.
    std::vector<std::string> withoutStrays(std::vector<std::string> faults) const {
        const auto removals = machine_.log.linesWith("RemovePropertyListenerBlock failed");
        const std::string unknown = coreAudioDescription(kAudioHardwareIllegalOperationError);
        if (machine_.log.count("Could not observe") > 0 ||
            !std::ranges::all_of(removals, [&](const auto& line) { return line.ends_with(unknown); }))
            std::erase_if(faults, [](const std::string& fault) { return fault.starts_with("listener"); });
        return faults;
    }

    void perform(const Step& step);
    void performByUser(const Step& step);
    void performByWorld(const Step& step);
    void setPreference(int which, int value);
    void plugOrUnplug(const std::string& uid, bool asAnother);
    void pickDefault(const std::string& uid);
    void breakSomething(const Step& step);
    void bringAudioServiceBack();
    void checkQuietPoint();

    Machine machine_;
    std::unique_ptr<Application> app_;
    std::vector<Started<void>> begun_;
    bool isQuiet_ = true;
    /// Where sound goes without a session; none while that can't be told.
    std::optional<std::string> home_ = "usb";
    /// Where alerts go then.
    std::optional<std::string> alertHome_ = "hdmi";
    bool mayFail_ = false;
    bool isOutputSlow_ = false;
    bool hasMeddled_ = false;
};

void RandomStory::perform(const Step& step) {
    if (step.act < Act::plugOrUnplug) {
        performByUser(step);
    } else if (step.act < Act::failCall) {
        performByWorld(step);
    } else {
        breakSomething(step);
    }
}

void RandomStory::performByUser(const Step& step) {
    DualOutputCoordinator& coordinator = app_->coordinator;
    switch (step.act) {
    case Act::play:
        begun_.push_back(app_->begin(app_->playing(device(step.which), device(step.other))));
        break;
    case Act::stop:
        begun_.push_back(app_->begin(coordinator.stopDualOutput()));
        break;
    case Act::activate:
        if (const auto id = preset(step.which))
            begun_.push_back(app_->begin(coordinator.activatePreset(*app_->preferences.preset(*id))));
        break;
    case Act::savePreset:
        if (const auto saved = coordinator.saveCurrentSessionAsPreset("Preset"))
            app_->preferences.setAutoConnect(step.which % 2 == 0, saved->id);
        break;
    case Act::reset:
        if (isQuiet_) machine_.world.calls.forgetFailures();
        begun_.push_back(app_->begin(coordinator.resetAudioConfiguration()));
        break;
    case Act::dismiss:
        coordinator.dismissError();
        break;
    case Act::reconnect:
        begun_.push_back(app_->begin(coordinator.reconnect()));
        break;
    case Act::answer:
        begun_.push_back(app_->begin(coordinator.resolveDisconnect(step.which % 2 == 0)));
        break;
    case Act::setPreference:
        setPreference(step.which, step.other);
        break;
    case Act::setVolume:
        app_->volumes.setMasterVolume(static_cast<float>(step.which) / 60.0F);
        break;
    default:
        if (machine_.world.isPlugged(device(step.which)) && machine_.world.device(device(step.which)).volume)
            machine_.world.setVolume(device(step.which), static_cast<float>(step.other) / 60.0F);
    }
}

void RandomStory::setPreference(int which, int value) {
    PreferencesManager& preferences = app_->preferences;
    switch (which % 4) {
    case 0:
        preferences.autoReconnect.set(value % 2 == 0);
        break;
    case 1:
        preferences.autoConnect.set(value % 2 == 0);
        break;
    case 2:
        preferences.disconnectBehavior.set(allDisconnectBehaviors.at(static_cast<std::size_t>(value) % 3));
        break;
    default:
        preferences.preferredSampleRate.set(value % 2 == 0 ? PreferredSampleRate::automatic
                                                           : PreferredSampleRate::rate44100);
    }
}

void RandomStory::performByWorld(const Step& step) {
    const auto aggregate = AggregateDeviceManager::aggregateUID;
    switch (step.act) {
    case Act::plugOrUnplug:
    case Act::replugAsAnother:
        plugOrUnplug(device(step.which), step.act == Act::replugAsAnother);
        break;
    case Act::pickDefault:
        if (machine_.world.isPlugged(device(step.which))) pickDefault(device(step.which));
        break;
    case Act::removeAggregate:
        if (machine_.world.aggregates().empty()) break;
        machine_.world.removeAggregate(aggregate);
        hasMeddled_ = true;
        loseTrack();
        break;
    case Act::restartAudioService:
        // A session that plays is built anew, and knows where sound belongs.
        if (!isQuiet_ || mayFail_ || !app_->isPlaying()) {
            hasMeddled_ = true;
            loseTrack();
        }
        app_->restartAudioService();
        break;
    case Act::loseAudioService:
        machine_.world.faults.obeysLate = step.other % 2 == 0;
        if (step.which % 2 == 0) {
            machine_.world.hangAudioService();
        } else {
            machine_.world.stopAudioService();
            hasMeddled_ = true;
        }
        loseTrack();
        break;
    case Act::wake:
        machine_.loop.sleepMachine(1h);
        app_->coordinator.handleWake();
        break;
    default:
        machine_.loop.advance(std::chrono::milliseconds(step.which * step.other * 10));
    }
}

void RandomStory::plugOrUnplug(const std::string& uid, bool asAnother) {
    SimulatedAudioSystem& world = machine_.world;
    if (!world.isPlugged(uid)) {
        asAnother ? world.replugWithAnotherID(uid) : world.replug(uid);
    } else {
        world.unplug(uid);
    }
    if (uid == alertHome_) alertHome_.reset();
    if (uid == home_) loseTrack(); // the system chooses another one, for good or not
    if (world.pluggedUIDs().empty()) hasMeddled_ = true;
}

void RandomStory::pickDefault(const std::string& uid) {
    machine_.world.pickDefault(uid);
    // Picked at once after its return, an output of the session is not taken for a choice.
    const auto session = app_->coordinator.state().session();
    const bool isOfSession = session && (session->first.uid == uid || session->second.uid == uid);
    if (isQuiet_ && !isOfSession && !mayFail_) {
        home_ = uid;
        if (session) alertHome_.reset(); // nobody restores them when a choice ends the session
    } else {
        loseTrack();
    }
}

void RandomStory::breakSomething(const Step& step) {
    SimulatedFaults& faults = machine_.world.faults;
    SimulatedCalls& calls = machine_.world.calls;
    switch (step.act) {
    case Act::failCall:
        calls.failNext(
            static_cast<CoreAudioOperation>(static_cast<std::size_t>(step.which) % coreAudioOperationCount),
            kAudioHardwareUnspecifiedError);
        callsMayFail();
        break;
    case Act::failLater:
        calls.failCall(static_cast<std::size_t>(step.which * 3 + step.other), kAudioHardwareNotReadyError);
        callsMayFail();
        break;
    case Act::worldGetsSlow:
        faults.aliveAfter = step.which % 2 == 0 ? 120ms : 0ms;
        faults.lingersAfterDestroy = step.which % 3 == 0 ? 250ms : 0ms;
        isOutputSlow_ = step.other % 3 == 0;
        faults.slowOutputChange = isOutputSlow_ ? 100ms : 0ms;
        machine_.loop.setBlockingCallDuration(step.other % 2 == 0 ? 30ms : 0ms);
        break;
    case Act::worldGetsOdd:
        faults.doesNotRejoin = step.which % 2 == 0;
        faults.returnsWithAnotherID = step.which % 3 == 0;
        faults.notifiesSynchronously = step.other % 4 == 0;
        break;
    case Act::crash:
        begun_.clear();
        machine_.loop.advance(30ms); // a call that blocks ends before the program can
        Application::crash(app_);
        machine_.log.clear();
        loseTrack();
        launch();
        break;
    default:
        begun_.push_back(app_->begin(app_->state.prepareForTermination()));
        machine_.loop.runUntilIdle();
        RC_ASSERT(!app_->coordinator.state().isActive());
        RC_ASSERT(mayFail_ || machine_.world.listenerCount() == 0U);
        begun_.clear();
        if (!isQuiet_) loseTrack();
        launch();
    }
}

/// Until then nothing that is unknown has changed anything, and nothing waits for ever.
void RandomStory::bringAudioServiceBack() {
    machine_.world.resumeAudioService();
    machine_.world.startAudioService();
    machine_.loop.runUntilIdle();
}

void RandomStory::checkQuietPoint() {
    bringAudioServiceBack();
    const bool hasSession = app_->coordinator.state().isActive();
    InvariantContext context{.mayLeaveAggregate = mayFail_,
                             .mayHaveLostSession = mayFail_ || (hasMeddled_ && !app_->isPlaying()),
                             .mayMissListeners = mayFail_};
    if (home_ && machine_.world.isPlugged(*home_)) context.defaultOutputs = {*home_};
    if (alertHome_ && machine_.world.isPlugged(*alertHome_)) context.alertOutputs = {*alertHome_};
    RC_ASSERT(withoutStrays(violations(*app_, context)) == std::vector<std::string>());
    for (const Started<void>& task : begun_)
        RC_ASSERT(task.isDone());
    for (const Started<void>& task : begun_)
        RC_ASSERT(!task.error());
    begun_.clear();
    if (hasSession) return;
    hasMeddled_ = false;
    if (machine_.world.calls.unconsumed().empty() && violations(*app_).empty()) mayFail_ = false;
    if (mayFail_) return;
    home_ = machine_.world.defaultOutputUID();
    alertHome_ = machine_.world.alertOutputUID();
}

std::size_t setting(const char* name, std::size_t otherwise) {
    const char* text = std::getenv(name);
    return text ? static_cast<std::size_t>(std::strtoull(text, nullptr, 10)) : otherwise;
}

TEST(RandomWorld, KeepsTheInvariantsWhateverHappens) {
    constexpr std::size_t longestStory = 60;
    const std::size_t steps = setting("VELTO_RANDOM_STEPS", 2000);
    rc::detail::TestParams parameters;
    parameters.seed = setting("VELTO_RANDOM_SEED", 20011);
    parameters.maxSuccess = static_cast<int>(steps / (longestStory / 4) + 1);
    parameters.maxSize = static_cast<int>(longestStory);
    std::size_t taken = 0;
    const auto property = [&taken] {
        const auto story = *rc::gen::resize(static_cast<int>(longestStory),
                                            rc::gen::container<std::vector<Step>>(anyStep()));
        RandomStory random;
        for (const Step& step : story) {
            random.take(step);
            ++taken;
        }
        random.end();
    };
    const auto result = rc::detail::checkTestable(property, rc::detail::TestMetadata(), parameters);
    std::ostringstream message;
    rc::detail::printResultMessage(result, message);
    EXPECT_TRUE(result.template is<rc::detail::SuccessResult>()) << message.str();
    EXPECT_GE(taken, steps);
}

} // namespace
} // namespace velto
