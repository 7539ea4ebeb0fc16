#include "Tools/Judge/OutputJudgement.h"

#include "Tools/Judge/ClickRow.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace velto::judge {

namespace {

constexpr std::int64_t pieceLength = sampleRate / 2;
/// By how many dB a level may be beyond what is due: volumes are rounded.
constexpr double roundingOfLevel = 0.1;
/// How far from the window's lag each piece is tried, in samples.
constexpr std::int64_t pieceRadius = 8;

/// The last piece takes what is too short to be one.
std::vector<SampleRange> piecesOf(SampleRange window) {
    std::vector<SampleRange> pieces;
    for (std::int64_t begin = window.begin; begin < window.end; begin += pieceLength)
        pieces.push_back({begin, std::min(begin + pieceLength, window.end)});
    if (pieces.size() > 1 && pieces.back().count() < pieceLength / 2) {
        pieces.pop_back();
        pieces.back().end = window.end;
    }
    return pieces;
}

std::string describe(SampleRange range) {
    return fmt::format("{:.2f} to {:.2f} s", secondsAt(range.begin), secondsAt(range.end));
}

std::string jumpFault(SampleRange piece, std::int64_t from, std::int64_t to) {
    return fmt::format("jumps by {:+} samples against the source ({})", to - from, describe(piece));
}

class SoundJudge {
  public:
    SoundJudge(const Aligner& aligner, Frames recording, double gain, OutputJudgement& judgement)
        : aligner_(aligner), recording_(recording), gainLevel_(gain > 0 ? 20 * std::log10(gain) : 0),
          judgement_(judgement) {}

    void judge(SampleRange window, std::int64_t expectedLag) {
        const auto whole = aligner_.align(recording_, window, expectedLag);
        if (!whole) return fault(fmt::format("is silent where sound is due ({})", describe(window)));
        judgement_.lag = whole->lag;
        for (const SampleRange piece : piecesOf(window))
            judgePiece(piece, whole->lag);
        if (judgement_.judgedPieces == 0)
            fault(fmt::format("can't be judged: the source is silent ({})", describe(window)));
        if (judgement_.passes())
            judgement_.gain = SampleMatch::gainIn(aligner_.source(), recording_, window, whole->lag);
    }

  private:
    void judgePiece(SampleRange piece, std::int64_t lag) {
        const double level = levelOf(piece.of(recording_));
        const double due = levelOf(aligner_.source().due(piece, lag)) + gainLevel_;
        if (due < silentLevel) {
            ++judgement_.silentPieces;
            if (level >= silentLevel && level > due + roundingOfLevel)
                fault(fmt::format("sounds at {:.1f} dBFS while the source is silent ({})", level,
                                  describe(piece)));
            return;
        }
        ++judgement_.judgedPieces;
        const Alignment alignment = aligner_.alignNear(recording_, piece, lag, pieceRadius);
        judgement_.correlation = std::min(judgement_.correlation.value_or(1), alignment.correlation);
        if (level < silentLevel) {
            fault(fmt::format("is silent where sound is due ({})", describe(piece)));
        } else if (alignment.correlation < soundCorrelation) {
            faultOfWrongSound(piece, alignment);
        } else if (alignment.lag != lag) {
            fault(jumpFault(piece, lag, alignment.lag));
        }
    }

    /// Only the first fault counts in the end, so only there it's worth to look where the sound comes from.
    void faultOfWrongSound(SampleRange piece, const Alignment& alignment) {
        if (judgement_.passes()) {
            const auto elsewhere = aligner_.align(recording_, piece, alignment.lag);
            if (elsewhere && elsewhere->correlation >= soundCorrelation)
                return fault(jumpFault(piece, *judgement_.lag, elsewhere->lag));
        }
        fault(fmt::format("matches the source by {:.4f} only, {} is due ({})", alignment.correlation,
                          soundCorrelation, describe(piece)));
    }

    void fault(std::string text) { judgement_.faults.push_back(std::move(text)); }

    const Aligner& aligner_;
    Frames recording_;
    double gainLevel_; // in dB
    OutputJudgement& judgement_;
};

} // namespace

OutputJudgement judgeSilence(Frames recording, SampleRange window) {
    OutputJudgement judgement{.due = Due::silence, .level = levelOf(window.of(recording))};
    for (const SampleRange piece : piecesOf(window)) {
        const double level = levelOf(piece.of(recording));
        if (level >= silentLevel)
            judgement.faults.push_back(
                fmt::format("sounds at {:.1f} dBFS where silence is due ({})", level, describe(piece)));
    }
    return judgement;
}

OutputJudgement judgeClicks(Frames recording, SampleRange window, double peak, std::int64_t interval) {
    OutputJudgement judgement{.due = Due::clicks, .level = levelOf(window.of(recording))};
    if (!longestClickRow({{recording, peak}}, window, interval).isEnough())
        judgement.faults.push_back(
            fmt::format("plays no {} clicks of peak {:.3f} in a row, {} samples apart: {} ({})", fewestClicks,
                        peak, interval, describeClicks(recording, window), describe(window)));
    return judgement;
}

OutputJudgement judgeSound(const Aligner& aligner, Frames recording, SampleRange window,
                           std::int64_t expectedLag, double gain) {
    OutputJudgement judgement{.due = Due::sound, .level = levelOf(window.of(recording))};
    SoundJudge(aligner, recording, gain, judgement).judge(window, expectedLag);
    return judgement;
}

} // namespace velto::judge
