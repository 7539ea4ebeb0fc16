// SessionProgram: the whole core without a window, driven by commands on standard input.
//
// One command a line: "start UID UID", "stop", "reset", "recover", "state", "devices", "volume UID NUMBER",
// "master NUMBER", "save NAME", "activate NAME", "preset NAME", "autoconnect NAME", "disconnect BEHAVIOUR",
// "answer keep|stop", "click VOLUME SECONDS INTERVAL", "sleep", "wake". Each is answered by one JSON object a
// line on standard output once it is done; changes of the session's state, of its outputs' volumes, of the
// question to the user and of the sync test come as objects with "event". The first command that needs the
// devices is preceded by what a launch does: "recover" is a launch and nothing else. The end of the input,
// SIGTERM and SIGINT end the session, put the outputs back, and end the program. It doesn't start
// while another program uses the same settings.
#pragma once

#include "Platform/Linux/FileUserDefaults.h"
#include "Platform/Linux/IcuTextCollation.h"
#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"
#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Velto/Shell/AudioServiceMonitor.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Session/SystemAudioManager.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/SyncProfileManager.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"
#include "VeltoCore/Sync/SystemMultiOutputEngine.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <optional>
#include <string>
#include <vector>

namespace velto {

class SessionProgram {
  public:
    SessionProgram();
    SessionProgram(const SessionProgram&) = delete;
    SessionProgram& operator=(const SessionProgram&) = delete;
    ~SessionProgram();
    /// Runs until the input ends or a signal asks for the end.
    void run();

  private:
    void readInput();
    void perform(std::string line);
    /// The words of a line, the command first; empty where there are fewer.
    struct Words {
        std::string command, first, second, third;
    };
    std::string performAtOnce(const Words& words);
    std::string performOnVolumes(const Words& words);
    std::string performOnPreferences(const Words& words);
    std::optional<AudioPreset> preset(const std::string& named) const;
    Task<void> start(std::string command, std::string firstUID, std::string secondUID);
    Task<void> activate(std::string command, std::string name);
    Task<void> stop(std::string command);
    Task<void> reset(std::string command);
    Task<void> resolve(std::string command, std::string decision);
    Task<void> wake(std::string command);
    Task<void> recover(std::string command);
    Task<void> answerState(std::string command);
    Task<void> launched();
    Task<void> endProgram();

    void reportState();
    void reportQuestion();
    void reportVolumes();
    void reportClick();
    void answer(const std::string& command, ContinuousInstant begin, const std::string& error) const;
    std::string errorText() const;
    void answerDevices(const std::string& command);
    void answerPreset(const std::string& command, const std::string& name);

    /// Before anything that starts a thread: the signals must be blocked in all of them.
    LinuxMainActor actor_;
    TerminationSignals terminationSignals_; // before any thread
    FileUserDefaults defaults_;
    PipeWireAudioClient client_;
    IcuTextCollation collation_;
    AudioDeviceManager devices_;
    AggregateDeviceManager aggregates_;
    PreferencesManager preferences_;
    SystemAudioManager session_;
    SyncProfileManager syncProfiles_;
    DeviceVolumeController volumes_;
    SystemMultiOutputEngine syncEngine_;
    DualOutputCoordinator coordinator_;
    AudioServiceMonitor serviceMonitor_;
    PipeWireAudioEngine engine_;
    SyncTestPlayer syncTest_;
    /// As last reported.
    std::string question_;
    std::vector<DeviceVolumeState> volumeStates_;
    std::vector<Subscription> subscriptions_;
    TaskScope tasks_;
    std::string input_;
    bool isLaunched_ = false;
    bool isEnding_ = false;
};

} // namespace velto
