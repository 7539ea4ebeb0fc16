// StepJudgement: whether what was heard and reported in one step is what was due.
#pragma once

#include "Tools/Judge/ClickRow.h"
#include "Tools/Judge/Continuity.h"
#include "Tools/Judge/OutputJudgement.h"
#include "Tools/Judge/Story.h"

#include <optional>
#include <string>
#include <vector>

namespace velto::judge {

struct StepJudgement {
    /// In the order of the story's outputs.
    std::vector<OutputJudgement> outputs;
    /// Between the outputs that are furthest apart, in samples; absent unless two pass where sound is due.
    std::optional<std::int64_t> skew = std::nullopt;
    /// Of all outputs on which clicks are due.
    std::optional<ClickRow> clicks = std::nullopt;
    std::optional<LostSamples> lost = std::nullopt;
    std::optional<Return> returned = std::nullopt;
    /// Why the step falls short, a sentence each.
    std::vector<std::string> reasons = {};

    bool passes() const { return reasons.empty(); }
    /// Whether sound is due on the output and it is what is heard.
    bool isHeard(std::size_t output) const {
        return outputs[output].due == Due::sound && outputs[output].passes();
    }
};

/// Judges each step of the story. Recordings are in the order of its outputs, all of one length.
std::vector<StepJudgement> judgeStory(const Story& story, const Source& source,
                                      const std::vector<std::vector<Frame>>& recordings);

} // namespace velto::judge
