// OutputRow, OutputCard: one output as the panel shows it in a picker, and while it plays.
#pragma once

#include "Velto/Shell/OutputNames.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <optional>
#include <string>

namespace velto {

struct OutputRow {
    std::string uid;
    std::string name;
    /// For where there is little room.
    std::string shortName;
    /// The name of a system symbol, for the device.
    std::string symbol;
    /// How it is connected, for the user, with a number where others read alike; or that it isn't.
    std::string badge;
    /// The name of a system symbol, for the badge.
    std::string badgeSymbol;
    bool isConnected = false;

    static OutputRow of(const AudioOutputDevice& device, const OutputNames& names);
    friend bool operator==(const OutputRow&, const OutputRow&) = default;
};

struct OutputCard {
    OutputRow output;
    bool hasVolume = false;
    /// From 0 to 1.
    float volume = 0;
    bool canMute = false;
    bool isMuted = false;

    friend bool operator==(const OutputCard&, const OutputCard&) = default;
};

} // namespace velto
