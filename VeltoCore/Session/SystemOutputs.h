// SystemOutputs: reads, switches and restores the computer's default output and alert output.
//
// A part of SystemAudioManager; main actor only. It knows which outputs to go back to when it is told their
// UIDs, and never goes back to our own aggregate. What it reads it tells apart: our aggregate, what shows
// before a switch to it does, what the system falls back to without it, somebody's choice.
#pragma once

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Session/DefaultOutputSwitch.h"
#include "VeltoCore/Session/FallbackOutput.h"
#include "VeltoCore/Session/SessionUIDs.h"

#include <optional>
#include <string>

namespace velto {

/// The outputs in force before a session; absent where unreadable, and where it was our own aggregate.
struct PreviousOutputs {
    std::optional<std::string> defaultUID;
    std::optional<std::string> systemUID;
};

class SystemOutputs {
  public:
    SystemOutputs(CoreAudioClient& client, AudioDeviceManager& deviceManager)
        : client_(client), deviceManager_(deviceManager) {}

    std::string currentDefaultOutputUID() const;
    /// Of the alert output.
    std::string currentSystemOutputUID() const;
    /// Whether sound goes to our aggregate now; false when that can't be read. Throws only when there is no
    /// answer.
    bool isDefaultOutputOurs() const;
    /// Throws only when there is no answer.
    PreviousOutputs inForce() const;

    /// Makes the device the default and the alert output, or neither: what was switched before a failure is
    /// switched back. Throws `cannotSetDefaultOutput`; where it gets no answer, that, and leaves off there.
    void switchTo(AudioObjectID device, const PreviousOutputs& previous);
    /// Makes the device both again.
    void switchAgainTo(AudioObjectID device);

    /// Whether somebody chose that default output. Our aggregate is no choice; nor, until a switch to it
    /// shows, is what was the default output before, or where it has gone, what the system falls back to.
    bool isChoice(const std::string& defaultUID);
    /// Until the devices, as last read, show our aggregate as the default output.
    bool isSwitchPending();
    /// Nobody waits for a switch to show any more.
    void endSwitch() noexcept;
    /// Whether sound goes where somebody chose, or that can't be read. Throws only when there is no answer.
    bool isDefaultOutputChosen();
    /// The session's aggregate has gone with the audio service: the default output, as the devices were last
    /// read, is nobody's choice. Until the next switch.
    void fallBack(SessionUIDs session);
    /// Whether that is so, whatever has been chosen since.
    bool hasFallenBack() const noexcept { return fallback_.has_value(); }

    /// Goes back to the previous outputs, or to a fallback where they are gone. What failed:
    /// `cannotRestoreOutput` when the default output can't be restored; the alert output is only tried. Where
    /// it gets no answer, it throws that, and leaves off there.
    std::optional<AudioManagerError> restore(const PreviousOutputs& previous);

  private:
    using SetOutput = void (CoreAudioClient::*)(AudioObjectID);

    bool isSystemOutputOurs() const;
    void expectDefaultOfBefore();
    AudioOutputDevice restoreDefaultOutput(const std::optional<std::string>& previousUID);
    AudioOutputDevice resolveRestoreTarget(const std::optional<std::string>& uid) const;
    void restoreSystemOutput(const std::optional<std::string>& previousUID,
                             const AudioOutputDevice& defaultTarget);
    void switchBack(SetOutput setOutput, const std::optional<std::string>& previousUID);

    CoreAudioClient& client_;
    AudioDeviceManager& deviceManager_;
    DefaultOutputSwitch switch_;
    std::optional<FallbackOutput> fallback_;
};

} // namespace velto
