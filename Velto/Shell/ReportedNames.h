// ReportedNames: how outputs are called in a debug report: as they are, or so that nobody is told what
// somebody owns or how it is called.
//
// Made for one report. A redacted output has the same short name in every report of everybody, made from its
// UID: reports of one fault can be compared, and the UID can't be told from it.
#pragma once

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class ReportedNames {
  public:
    ReportedNames() = default;
    /// Redacted. `known` are the outputs, by UID and name, that may be spoken of in running text.
    static ReportedNames redacted(const std::vector<std::pair<std::string, std::string>>& known);

    std::string name(const AudioOutputDevice& device) const;
    std::string uid(const std::string& uid) const;
    std::string description(const AudioManagerError& error) const;

  private:
    bool isRedacted_ = false;
    /// What is replaced in running text, and by what; the longest first.
    std::vector<std::pair<std::string, std::string>> replacements_;
};

} // namespace velto
