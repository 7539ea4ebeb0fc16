#include "Tools/Judge/StepJudgement.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace velto::judge {

namespace {

/// How far a volume may be from what is due, relative to it.
constexpr double gainTolerance = 0.01;

class StepJudge {
  public:
    /// `expectedLag` is where the player was heard last.
    StepJudge(const Story& story, const StoryStep& step, const Aligner& aligner,
              const std::vector<std::vector<Frame>>& recordings, std::int64_t expectedLag)
        : story_(story), step_(step), aligner_(aligner),
          recordings_(recordings), window_{sampleAt(step.from), sampleAt(step.to)}, lag_(expectedLag) {}

    StepJudgement judge() {
        if (step_.problem) fail(*step_.problem);
        judgeOutputs();
        judgeGains();
        if (step_.clicks) {
            judgeClicking();
        } else {
            judgeSkew();
        }
        judgeSurvivor();
        judgeReturn();
        judgeReports();
        return std::move(result_);
    }

    std::int64_t lag() const { return lag_; }

  private:
    void judgeOutputs() {
        for (std::size_t i = 0; i < story_.outputs.size(); ++i) {
            const bool isDue = std::ranges::find(step_.sound, story_.outputs[i].uid) != step_.sound.end();
            if (!isDue) {
                result_.outputs.push_back(judgeSilence(recordings_[i], window_));
            } else if (step_.clicks) {
                result_.outputs.push_back(judgeClicks(
                    recordings_[i], window_, step_.clicks->peak * dueGain(i), step_.clicks->interval));
            } else {
                result_.outputs.push_back(judgeSound(aligner_, recordings_[i], window_, lag_, dueGain(i)));
            }
            const OutputJudgement& judgement = result_.outputs.back();
            if (!judgement.passes()) fail(story_.outputs[i], judgement.faults.front());
            if (result_.isHeard(i)) lag_ = *judgement.lag;
        }
    }

    /// As the source's where nothing is said of it.
    double dueGain(std::size_t output) const {
        const auto gain = step_.gains.find(story_.outputs[output].uid);
        return gain == step_.gains.end() ? 1 : gain->second;
    }

    void judgeGains() {
        for (const auto& [uid, due] : step_.gains) {
            const std::size_t index = *story_.indexOf(uid);
            const auto gain = result_.outputs[index].gain;
            if (!gain) continue; // what it plays instead is a fault already, or clicks
            if (std::max(std::abs(gain->left - due), std::abs(gain->right - due)) > gainTolerance * due)
                fail(story_.outputs[index],
                     fmt::format(
                         "plays at {:.4f} (left) and {:.4f} (right) of the source's volume, {:.4f} is due",
                         gain->left, gain->right, due));
        }
    }

    void judgeClicking() {
        std::vector<ClickTrack> tracks;
        for (std::size_t i = 0; i < result_.outputs.size(); ++i) {
            if (result_.outputs[i].due != Due::clicks) continue;
            if (!result_.outputs[i].passes()) return;
            tracks.push_back({recordings_[i], step_.clicks->peak * dueGain(i)});
        }
        result_.clicks = longestClickRow(tracks, window_, step_.clicks->interval);
        if (!result_.clicks->isEnough()) return fail("the outputs don't click at the same samples");
        if (tracks.size() > 1) result_.skew = 0;
    }

    void judgeSkew() {
        std::vector<std::size_t> heard;
        for (std::size_t i = 0; i < result_.outputs.size(); ++i) {
            if (result_.isHeard(i)) heard.push_back(i);
        }
        if (heard.size() < 2) {
            if (step_.skewLimit) fail("skew can't be told: fewer than two outputs carry the source");
            return;
        }
        const auto heardAt = [this](std::size_t i) {
            const auto late = step_.lateness.find(story_.outputs[i].uid);
            return *result_.outputs[i].lag +
                   (late == step_.lateness.end() ? 0 : sampleAt(late->second / 1000));
        };
        const auto [earliest, latest] = std::ranges::minmax(heard, {}, heardAt);
        result_.skew = heardAt(latest) - heardAt(earliest);
        if (step_.skewLimit && *result_.skew > *step_.skewLimit)
            fail(story_.outputs[latest],
                 fmt::format("plays {} samples later than {}, {} are allowed", *result_.skew,
                             story_.outputs[earliest].name, *step_.skewLimit));
    }

    void judgeSurvivor() {
        if (!step_.survivor) return;
        const std::size_t index = *story_.indexOf(step_.survivor->uid);
        const StoryOutput& output = story_.outputs[index];
        const auto lost = lostAround(aligner_, recordings_[index], sampleAt(step_.survivor->event), lag_);
        if (!lost) return fail(output, fmt::format("{} ({:.3f} s)", lost.error(), step_.survivor->event));
        result_.lost = *lost;
        if (const auto limit = step_.survivor->lostLimit; limit && lost->total() > *limit)
            fail(output,
                 fmt::format(
                     "lost {} samples around {:.3f} s (gap {}, skipped {}, repeated {}), {} are allowed",
                     lost->total(), step_.survivor->event, lost->gap, lost->skipped, lost->repeated, *limit));
    }

    void judgeReturn() {
        if (!step_.returning) return;
        const std::size_t index = *story_.indexOf(step_.returning->uid);
        const StoryOutput& output = story_.outputs[index];
        if (!result_.isHeard(index)) return fail(output, "didn't return");
        const auto returned = returnAfter(aligner_, recordings_[index], step_.returning->event, window_,
                                          *result_.outputs[index].lag);
        if (!returned) return fail(output, returned.error());
        result_.returned = *returned;
        // A pause of the source is nobody's fault: only what is known to be missing is held against the
        // limit.
        if (const auto limit = step_.returning->limitMilliseconds;
            limit && returned->missingMilliseconds > *limit)
            fail(output, fmt::format("sounded again after {:.1f} ms, {:.1f} ms are allowed",
                                     returned->milliseconds, *limit));
    }

    void judgeReports() {
        if (const auto limit = step_.limitMilliseconds; limit && !step_.milliseconds) {
            fail("how long it took is missing");
        } else if (limit && *step_.milliseconds > *limit) {
            fail(fmt::format("took {:.1f} ms, {:.1f} ms are allowed", *step_.milliseconds, *limit));
        }
        judgeOutputReport(step_.defaultOutput, "default");
        judgeOutputReport(step_.alertOutput, "alert");
        if (step_.record && !step_.record->isMet())
            fail(fmt::format("the recovery record is {}, it should be {}",
                             !step_.record->actual   ? "unknown"
                             : *step_.record->actual ? "present"
                                                     : "absent",
                             step_.record->expected ? "present" : "absent"));
    }

    void judgeOutputReport(const std::optional<Expectation<std::string>>& output, const char* what) {
        if (output && !output->isMet())
            fail(fmt::format("the {} output is {}, it should be {}", what, output->actual.value_or("none"),
                             output->expected));
    }

    void fail(std::string reason) { result_.reasons.push_back(std::move(reason)); }
    void fail(const StoryOutput& output, const std::string& reason) {
        fail(fmt::format("{} {}", output.name, reason));
    }

    const Story& story_;
    const StoryStep& step_;
    const Aligner& aligner_;
    const std::vector<std::vector<Frame>>& recordings_;
    SampleRange window_;
    std::int64_t lag_;
    StepJudgement result_;
};

/// The longest range that any step needs to align.
std::int64_t longestRange(const Story& story) {
    std::int64_t longest = 2 * sampleRate;
    for (const StoryStep& step : story.steps)
        longest = std::max(longest, sampleAt(step.to) - sampleAt(step.from));
    return longest;
}

} // namespace

std::vector<StepJudgement> judgeStory(const Story& story, const Source& source,
                                      const std::vector<std::vector<Frame>>& recordings) {
    const Aligner aligner(source, longestRange(story));
    std::vector<StepJudgement> judgements;
    std::int64_t lag = 0;
    for (const StoryStep& step : story.steps) {
        StepJudge judge(story, step, aligner, recordings, lag);
        judgements.push_back(judge.judge());
        lag = judge.lag();
    }
    return judgements;
}

} // namespace velto::judge
