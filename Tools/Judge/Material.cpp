#include "Tools/Judge/Material.h"

#include "Tools/Judge/UnusableInput.h"

#include <fmt/format.h>

namespace velto::judge {

Material readMaterial(const std::string& storyFile) {
    Story story = readStory(storyFile);
    std::vector<std::vector<Frame>> recordings;
    for (const StoryOutput& output : story.outputs) {
        recordings.push_back(readSound(output.recording));
        if (recordings.back().size() != recordings.front().size())
            throw UnusableInput(fmt::format("{} has {} samples and {} has {}: they must be of one length.",
                                            story.outputs.front().recording, recordings.front().size(),
                                            output.recording, recordings.back().size()));
    }
    Source source(readSound(story.source));
    Material material{std::move(story), std::move(source), std::move(recordings)};
    checkTimes(material.story, material.duration());
    return material;
}

} // namespace velto::judge
