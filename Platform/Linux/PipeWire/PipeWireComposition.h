// PipeWireComposition: what an aggregate was created from, as the text of a property of its node.
//
// It outlives the program together with the node. Any program can make a node with such a property, so
// nothing in it is taken for granted.
#pragma once

#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"

#include <string>
#include <string_view>

namespace velto {

struct PipeWireComposition {
    PipeWireComposition() = delete;

    static std::string text(const AggregateDeviceDescription& description);
    /// As far as it can be read. UID and name stay empty: the node itself says what they are by now.
    static AggregateDeviceDescription read(std::string_view text);
};

} // namespace velto
