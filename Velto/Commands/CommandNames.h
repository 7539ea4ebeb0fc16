// What a user means by the words of a command. Each throws CommandFailure with a sentence that helps on.
#pragma once

#include "Velto/Commands/CommandRequest.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Session/SessionAlignment.h"
#include "VeltoCore/Settings/AudioPreset.h"

#include <string>
#include <string_view>
#include <vector>

namespace velto {

/// The output of that UID or name, or the only one with that part of a name.
const AudioOutputDevice& outputCalled(std::string_view word, const std::vector<AudioOutputDevice>& outputs);
/// The input of that UID or name, likewise.
const SessionAlignment::Input& inputCalled(std::string_view word,
                                           const std::vector<SessionAlignment::Input>& inputs);
/// The preset of that name, however it is capitalised.
const AudioPreset& presetCalled(std::string_view word, const std::vector<AudioPreset>& presets);

struct VolumeChange {
    /// From 0 to 1, or a step in either direction.
    float value = 0;
    bool isStep = false;
};
/// Such as "40%", "40", "+5%" or "-5%".
VolumeChange volumeChange(std::string_view word);

struct DelayChange {
    /// In milliseconds.
    double value = 0;
    bool isStep = false;
};
/// Such as "180", "180ms", "+5" or "-0.1".
DelayChange delayChange(std::string_view word);

/// What "on", "off" or "toggle" makes of it.
bool switched(bool isOn, std::string_view word);

} // namespace velto
