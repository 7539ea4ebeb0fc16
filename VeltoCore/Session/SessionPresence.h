// SessionPresence: what is there of a session: its aggregate, its outputs, and which of them take part.
//
// A part of SystemAudioManager; main actor only. It asks the hardware each time and keeps nothing.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Session/DualOutputSession.h"

#include <optional>
#include <string>
#include <vector>

namespace velto {

class SessionPresence {
  public:
    /// The client must outlive it.
    explicit SessionPresence(CoreAudioClient& client) : client_(client) {}

    /// The session's outputs that can't be found, the first before the second. What gets no answer is not
    /// missing.
    std::vector<AudioOutputDevice> missing(const DualOutputSession& session) const;
    /// Whether all of them are found. What can't be looked up counts as missing. Throws only when there is no
    /// answer.
    bool isComplete(const DualOutputSession& session) const;
    /// Whether the output plays in the aggregate. What can't be read doesn't play. Throws only when there is
    /// no answer.
    bool takesPart(const AudioOutputDevice& output, const DualOutputSession& session) const;
    /// Throws what the client throws.
    bool isAggregateThere(const DualOutputSession& session) const;
    /// The aggregate, to be removed: none when it is gone. Where it can't be looked up, it counts as there:
    /// it must not be left behind. Throws only when there is no answer.
    std::optional<AudioObjectID> aggregate(const DualOutputSession& session) const;

  private:
    bool isFound(const AudioOutputDevice& output) const;

    CoreAudioClient& client_;
};

} // namespace velto
