#include "Tests/Support/StoryTeller.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace velto {

using namespace std::chrono_literals;

namespace {

/// A violated invariant.
void require(bool holds, const std::string& otherwise) {
    if (!holds) throw std::runtime_error(otherwise);
}
void require(const std::vector<std::string>& violations) {
    std::string all;
    for (const std::string& violation : violations)
        all += (all.empty() ? "" : "; ") + violation;
    require(violations.empty(), all);
}

} // namespace

StoryTeller::StoryTeller() {
    machine_.plugUsualOutputs();
    machine_.world.delaysOutputs = true;
    machine_.world.plug({.uid = "old", .name = "Old Amplifier", .sampleRates = {{44100, 44100}}});
    launch();
}

void StoryTeller::take(const Step& step) {
    perform(step);
    isQuiet_ = !step.turns;
    // What is not noticed before the next step happens, or doesn't show by then, may be forgotten.
    const bool isUnnoticed = step.act == Act::pickDefault || step.act == Act::restartAudioService ||
                             step.act == Act::loseAudioService;
    if (!isQuiet_ && (isUnnoticed || isOutputSlow_)) loseTrack();
    if (isQuiet_) {
        machine_.loop.runUntilIdle();
        checkQuietPoint();
    } else {
        for (int turn = 0; turn < *step.turns; ++turn)
            machine_.loop.runNextTurn();
    }
}

void StoryTeller::end() {
    machine_.loop.runUntilIdle();
    machine_.world.faults = {};
    machine_.world.calls.forgetFailures();
    machine_.defaults.failWrites(std::nullopt);
    for (const std::string& uid : machine_.world.pluggedUIDs())
        machine_.world.change(uid, [](SimulatedDevice& device) { device.isReadable = true; });
    bringAudioServiceBack(); // and an output that can be read again may begin a session
    app_->reset();
    checkQuietPoint();
    require(app_->isIdle(), "a reset leaves a session");
    app_->quit();
    app_.reset();
    machine_.loop.runUntilIdle();
    require(withoutStrays(machine_.leftovers()));
}

std::vector<std::string> StoryTeller::withoutStrays(std::vector<std::string> faults) const {
    const auto removals = machine_.log.linesWith("RemovePropertyListenerBlock failed");
    const std::string unknown = coreAudioDescription(kAudioHardwareIllegalOperationError);
    if (isDeaf() || !std::ranges::all_of(removals, [&](const auto& line) { return line.ends_with(unknown); }))
        std::erase_if(faults, [](const std::string& fault) {
            return fault.starts_with("listener") || fault == "a record without a session";
        });
    return faults;
}

void StoryTeller::perform(const Step& step) {
    if (step.act < Act::plugOrUnplug) {
        performByUser(step);
    } else if (step.act < Act::failCall) {
        performByWorld(step);
    } else {
        breakSomething(step);
    }
}

void StoryTeller::performByUser(const Step& step) {
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
    case Act::setDelay:
        coordinator.setSyncCorrections({{device(step.which), step.other}}, SyncProfile::Kind::manual);
        break;
    default:
        if (machine_.world.isPlugged(device(step.which)) && machine_.world.device(device(step.which)).volume)
            machine_.world.setVolume(device(step.which), static_cast<float>(step.other) / 60.0F);
    }
}

void StoryTeller::setPreference(int which, int value) {
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

void StoryTeller::performByWorld(const Step& step) {
    const auto aggregate = AggregateDeviceManager::aggregateUID;
    switch (step.act) {
    case Act::plugOrUnplug:
    case Act::replugAsAnother:
        plugOrUnplug(device(step.which), step.act == Act::replugAsAnother);
        break;
    case Act::pickDefault:
        if (isThere(device(step.which))) pickDefault(device(step.which));
        break;
    case Act::pickAlertOutput:
        pickAlertOutput(device(step.which));
        break;
    case Act::deviceChanges:
    case Act::driverGivesUp:
        if (machine_.world.isPlugged(device(step.which)))
            machine_.world.change(device(step.which),
                                  [&](SimulatedDevice& device) { changeDevice(device, step); });
        if (step.act == Act::driverGivesUp && device(step.which) == home_) loseTrack();
        if (device(step.which) == alertHome_) alertHome_.reset();
        break;
    case Act::loseDelays:
        if (!machine_.world.aggregates().empty()) machine_.world.loseDelays(aggregate);
        break;
    case Act::removeAggregate:
        if (machine_.world.aggregates().empty()) break;
        machine_.world.removeAggregate(aggregate);
        hasMeddled_ = true;
        loseTrack();
        break;
    case Act::restartAudioService:
        loseAggregate();
        app_->restartAudioService();
        break;
    case Act::loseAudioService:
        machine_.world.faults.obeysLate = step.other % 2 == 0;
        if (step.which % 2 == 0) {
            if (!isQuiet_) loseTrack(); // what runs is done late
            machine_.world.hangAudioService();
        } else {
            loseAggregate();
            machine_.world.stopAudioService();
        }
        break;
    case Act::wake:
        machine_.loop.sleepMachine(1h);
        app_->coordinator.handleWake();
        break;
    default:
        machine_.loop.advance(std::chrono::milliseconds(step.which * step.other * 10));
    }
}

/// With its audio service: a session is built anew or ends, and knows where sound belongs.
void StoryTeller::loseAggregate() {
    hasMeddled_ = true;
    if (!isQuiet_ || mayFail_) loseTrack();
}

void StoryTeller::plugOrUnplug(const std::string& uid, bool asAnother) {
    SimulatedAudioSystem& world = machine_.world;
    if (!world.isPlugged(uid)) {
        asAnother ? world.replugWithAnotherID(uid) : world.replug(uid);
        if (!world.device(uid).isReadable) callsMayFail();
    } else {
        world.unplug(uid);
    }
    if (uid == alertHome_) alertHome_.reset();
    if (uid == home_) loseTrack(); // the system chooses another one, for good or not
    if (world.pluggedUIDs().empty()) hasMeddled_ = true;
}

void StoryTeller::changeDevice(SimulatedDevice& device, const Step& step) {
    if (step.act == Act::driverGivesUp) {
        device.isAlive = !device.isAlive;
        return;
    }
    switch (step.other % 4) {
    case 0:
        device.name += "!";
        break;
    case 1:
        device.sampleRate =
            device.sampleRates.at(static_cast<std::size_t>(step.other / 4) % device.sampleRates.size())
                .lowerBound;
        break;
    case 2:
        if (device.isMuted) device.isMuted = !*device.isMuted;
        break;
    default:
        device.latencyFrames = step.other * 100;
    }
}

void StoryTeller::pickDefault(const std::string& uid) {
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

/// While a session plays, alerts are its own.
void StoryTeller::pickAlertOutput(const std::string& uid) {
    if (!isThere(uid) || app_->session.isOperationRunning() || app_->coordinator.state().isActive()) return;
    machine_.world.pickAlertOutput(uid);
    if (isQuiet_ && !mayFail_) {
        alertHome_ = uid;
    } else {
        loseTrack();
    }
}

void StoryTeller::breakSomething(const Step& step) {
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
    case Act::aggregateMisbehaves:
        faults.neverAlive = step.which % 5 == 0;
        faults.createsInvalidDevice = step.which % 5 == 1;
        faults.invertsDriftCompensation = step.which % 5 == 2;
        faults.hidesSubDevices = step.which % 5 == 3;
        faults.plainSubDevices = step.other % 2 == 0;
        faults.slowRateChange = step.other % 3 == 0 ? 80ms : 0ms;
        break;
    case Act::deviceGetsUnreadable:
        if (machine_.world.isPlugged(device(step.which)))
            machine_.world.change(device(step.which),
                                  [](SimulatedDevice& device) { device.isReadable = !device.isReadable; });
        callsMayFail();
        break;
    case Act::diskFills:
        machine_.defaults.failWrites(step.which % 2 ? std::optional<std::string>("No space left on device")
                                                    : std::nullopt);
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
        require(!app_->coordinator.state().isActive(), "a session after the program has quit");
        require(mayFail_ || machine_.world.listenerCount() == 0U, "listeners after the program has quit");
        begun_.clear();
        if (!isQuiet_) loseTrack();
        launch();
    }
}

/// Until then nothing that is unknown has changed anything, and nothing waits for ever.
void StoryTeller::bringAudioServiceBack() {
    machine_.world.resumeAudioService();
    machine_.world.startAudioService();
    machine_.loop.runUntilIdle();
}

void StoryTeller::checkQuietPoint() {
    bringAudioServiceBack();
    const bool hasSession = app_->coordinator.state().isActive();
    // Without any output a session waits, whatever has become of its aggregate.
    const bool isWaiting = !app_->isPlaying() || machine_.world.defaultOutputUID().empty();
    InvariantContext context{.mayLeaveAggregate = mayFail_,
                             .mayHaveLostSession = mayFail_ || (hasMeddled_ && isWaiting),
                             .mayMissListeners = mayFail_};
    if (home_ && machine_.world.isPlugged(*home_)) context.defaultOutputs = {*home_};
    if (alertHome_ && machine_.world.isPlugged(*alertHome_)) context.alertOutputs = {*alertHome_};
    require(withoutStrays(violations(*app_, context)));
    for (const Started<void>& task : begun_) {
        require(task.isDone(), "what was begun does not end");
        require(!task.error(), "what was begun has thrown");
    }
    begun_.clear();
    if (hasSession) return;
    hasMeddled_ = false;
    if (machine_.world.calls.unconsumed().empty() && isEverythingReadable() && !isDeaf() &&
        violations(*app_).empty())
        mayFail_ = false;
    if (mayFail_) return;
    home_ = machine_.world.defaultOutputUID();
    alertHome_ = machine_.world.alertOutputUID();
}

} // namespace velto
