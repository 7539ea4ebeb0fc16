// OutputJudgement: whether one output played the source, or nothing, in one window.
//
// A window is judged in pieces of half a second. Sound passes when every piece in which the source is audible
// is a copy of it, all at one lag; a window without any such piece never passes.
#pragma once

#include "Tools/Judge/Aligner.h"
#include "Tools/Judge/SampleMatch.h"

#include <optional>
#include <string>
#include <vector>

namespace velto::judge {

enum class Due { sound, clicks, silence };

struct OutputJudgement {
    Due due = Due::silence;
    /// Over the whole window, in dBFS.
    double level = 0;
    /// The lowest of all judged pieces; absent where silence is due or nothing could be judged.
    std::optional<double> correlation = std::nullopt;
    /// In samples; absent likewise.
    std::optional<std::int64_t> lag = std::nullopt;
    /// The volume at which it carries the source; absent where it doesn't pass, too.
    std::optional<Gain> gain = std::nullopt;
    int judgedPieces = 0;
    /// Pieces in which the source itself is silent.
    int silentPieces = 0;
    /// What is wrong, each to be read after the output's name.
    std::vector<std::string> faults = {};

    bool passes() const { return faults.empty(); }
};

OutputJudgement judgeSilence(Frames recording, SampleRange window);
/// Clicks of that peak; whether outputs click together is for others to judge.
OutputJudgement judgeClicks(Frames recording, SampleRange window, double peak, std::int64_t interval);
/// Of lags that fit equally well, the one nearest to the expected lag is taken. `gain` is that at which the
/// source is due: what is quiet in it can be silence there.
OutputJudgement judgeSound(const Aligner& aligner, Frames recording, SampleRange window,
                           std::int64_t expectedLag, double gain = 1);

} // namespace velto::judge
