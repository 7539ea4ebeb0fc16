// OutputNames: how outputs are called where there is little room, and where several are called alike.
//
// A value, made of all outputs that are shown or could be; it knows nothing of what happens to them later.
#pragma once

#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <string>
#include <vector>

namespace velto {

class OutputNames {
  public:
    explicit OutputNames(const std::vector<AudioOutputDevice>& outputs);

    /// A long beginning that the name shares with others is cut: of "Family 17h HD Audio Controller Analog
    /// Stereo" and "… Digital Stereo" stay "Family 17h… Analog Stereo" and "Family 17h… Digital Stereo".
    std::string shortened(const std::string& name) const;
    /// From 1 on, among those of one name and transport, in the order of their UIDs; 0 for the only one.
    int number(const std::string& uid) const;
    /// The shortened name, and the number where there is one.
    std::string distinct(const std::string& uid, const std::string& name) const;

  private:
    struct Output {
        std::string name;
        std::string transport;
        std::string uid;

        friend bool operator==(const Output&, const Output&) = default;
    };

    std::vector<Output> outputs_; // sorted: alike ones stand together, and like beginnings beside each other
};

} // namespace velto
