// Material: everything that is judged: a story, what was played, and what each output was heard to play.
#pragma once

#include "Tools/Judge/Source.h"
#include "Tools/Judge/Story.h"

#include <string>
#include <vector>

namespace velto::judge {

struct Material {
    Story story;
    Source source;
    /// In the order of the story's outputs, all of one length.
    std::vector<std::vector<Frame>> recordings;

    /// In seconds.
    double duration() const { return secondsAt(static_cast<std::int64_t>(recordings.front().size())); }
};

/// Reads a story and the files that it names. Throws UnusableInput.
Material readMaterial(const std::string& storyFile);

} // namespace velto::judge
