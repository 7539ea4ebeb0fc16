#include "Tools/Showcase/Timeline.h"

#include "Tools/Judge/PlainText.h"
#include "Tools/Judge/Report.h"
#include "Tools/Showcase/LabelPlaces.h"
#include "Tools/Showcase/SvgWriter.h"
#include "Tools/Showcase/Waveform.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace velto {

using namespace judge;

namespace {

constexpr std::string_view styleSheet = R"(
text{font-family:Inter,"Segoe UI","Helvetica Neue",Helvetica,Arial,"DejaVu Sans",sans-serif;fill:#1d2433}
.card{fill:#fff;stroke:#d9dee7}
.title{font-size:20px;font-weight:700}
.subtitle{font-size:12.5px;fill:#667085}
.name{font-size:13.5px;font-weight:600}
.kind,.tick,.legend{font-size:11px;fill:#667085}
.tick,.number,.pill{text-anchor:middle}
.pill{font-size:12.5px;font-weight:700;fill:#fff}
.number{font-size:11px;font-weight:700;fill:#fff}
.event{font-size:11px;font-weight:600;fill:#344054}
.eventLine{stroke:#475467;stroke-width:1;stroke-dasharray:3 3}
.eventDot{fill:#475467}
.lane{fill:#f6f8fb}
.grid{stroke:#e7ebf1}
.middle{stroke:#cfd6e0}
.passSpan{fill:#12b76a;fill-opacity:.1}
.failSpan{fill:#f04438;fill-opacity:.14}
.pass{fill:#079455}
.fail{fill:#d92d20}
.passBar{stroke:#079455;stroke-width:3}
.failBar{stroke:#d92d20;stroke-width:3}
.source{fill:#7a869a}
.unjudged{fill:#b4bdcb}
.inStep{fill:#0d8f9c}
.alone{fill:#5b5bd6}
.fault{fill:#e5484d}
.stepName{font-size:12.5px;font-weight:600}
.stepFigures{font-size:11px;fill:#667085}
.stepReason{font-size:11px;fill:#b42318}
)";

constexpr double margin = 28;
constexpr double plotLeft = 184;
constexpr std::size_t plotWidth = 1000;
constexpr double eventsTop = 104;
/// From one event's label to the next; they rise at half a right angle.
constexpr double eventDistance = 18;
constexpr double eventAngle = 45;
/// Between the lanes and the labels: there a line finds the way to its label.
constexpr double eventFoot = 26;
/// Of a character of an event's label; generous, as fonts differ.
constexpr double eventCharacterWidth = 6.9;
constexpr std::size_t longestEvent = 34;
constexpr double laneHeight = 72;
constexpr double laneGap = 8;
constexpr double badgeRadius = 9;
constexpr double keyRowHeight = 42;
constexpr std::size_t keyColumns = 2;
/// How much of a step's key fits into its column, in characters.
constexpr std::size_t longestKey = 104;

/// How a lane is drawn where nothing is said about it.
constexpr const char* unjudged = "unjudged";

bool isInStep(const StoryStep& step, const StepJudgement& judgement) {
    return judgement.skew && *judgement.skew <= step.skewLimit.value_or(0);
}

const char* laneStyle(const StoryStep& step, const StepJudgement& judgement, std::size_t output) {
    if (!judgement.outputs[output].passes()) return "fault";
    if (judgement.outputs[output].due == Due::silence) return unjudged;
    if (!judgement.skew) return "alone";
    return isInStep(step, judgement) ? "inStep" : "fault";
}

double decibels(double gain) { return 20 * std::log10(std::max(gain, 1e-10)); }

std::string figuresOf(const Story& story, const StoryStep& step, const StepJudgement& judgement) {
    std::string text;
    const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : " · ") + part; };
    std::string names;
    for (const std::string& uid : step.sound) {
        const std::size_t index = *story.indexOf(uid);
        names += (names.empty() ? "" : " + ") + story.outputs[index].name;
        if (step.gains.contains(uid) && judgement.outputs[index].gain)
            names += fmt::format(" at {:.1f} dB", decibels(double{judgement.outputs[index].gain->left}));
    }
    add(step.expected);
    add(names.empty() ? "silence" : names);
    if (judgement.clicks) add(fmt::format("{} clicks", judgement.clicks->count));
    if (judgement.skew) add(fmt::format("skew {} samples", *judgement.skew));
    if (judgement.lost) add(fmt::format("{} samples lost", judgement.lost->total()));
    if (judgement.returned) add(fmt::format("back after {:.1f} ms", judgement.returned->milliseconds));
    if (step.milliseconds) add(fmt::format("took {:.1f} ms", *step.milliseconds));
    return text;
}

/// The distance of the marks on the time axis, in seconds.
int tickDistance(double duration) {
    for (const int distance : {1, 2, 5, 10, 30}) {
        if (duration / distance <= 32) return distance;
    }
    return 60;
}

class Drawing {
  public:
    Drawing(const Material& material, const std::vector<StepJudgement>& judgements)
        : material_(material), story_(material.story), judgements_(judgements),
          length_(static_cast<std::int64_t>(material.recordings.front().size())) {
        layOutEvents();
        lanesBottom_ = laneTop(story_.outputs.size()) + laneHeight;
        keyTop_ = lanesBottom_ + 78;
    }

    std::string draw() {
        const std::size_t keyRows = (story_.steps.size() + keyColumns - 1) / keyColumns;
        const double width = right_ + margin;
        const double height = keyTop_ + keyRowHeight * static_cast<double>(keyRows) + 10;
        SvgWriter svg(width, height, "What each output was heard to play", styleSheet);
        svg.rectangle("card", {0.5, 0.5, width - 1, height - 1}, 14);
        drawHeader(svg);
        drawGrounds(svg);
        drawSteps(svg);
        drawWaveforms(svg);
        drawEvents(svg);
        drawKey(svg);
        return std::move(svg).finish();
    }

  private:
    /// Finds the place of each label; the card grows until all fit.
    void layOutEvents() {
        events_ = story_.events;
        std::ranges::sort(events_, {}, &StoryEvent::time);
        std::vector<double> marks;
        for (const StoryEvent& event : events_)
            marks.push_back(xOf(event.time));
        labels_ = labelPlaces(marks, eventDistance);
        double highest = 0;
        for (std::size_t i = 0; i < events_.size(); ++i) {
            events_[i].label = shortened(events_[i].label, longestEvent);
            const double length = eventCharacterWidth * static_cast<double>(widthOf(events_[i].label)) + 14;
            const double side = length * std::numbers::sqrt2 / 2; // of the square that it crosses
            right_ = std::max(right_, labels_[i] + side);
            highest = std::max(highest, side);
        }
        lanesTop_ = eventsTop + highest + eventFoot;
    }

    double xOf(double seconds) const {
        return plotLeft + static_cast<double>(plotWidth) * seconds / secondsAt(length_);
    }
    std::size_t columnOf(double seconds) const {
        const double column = static_cast<double>(plotWidth) * seconds / secondsAt(length_);
        return std::min(plotWidth, static_cast<std::size_t>(std::max(column, 0.0)));
    }
    /// The source has lane 0, the outputs follow.
    double laneTop(std::size_t lane) const {
        return lanesTop_ + static_cast<double>(lane) * (laneHeight + laneGap);
    }
    double laneMiddle(std::size_t lane) const { return laneTop(lane) + laneHeight / 2; }

    void drawHeader(SvgWriter& svg) const {
        svg.text("title", {margin, 42}, "What each output was heard to play");
        svg.text("subtitle", {margin, 63},
                 fmt::format(
                     "Judged from the recordings alone: a correlation with the source of at least {} where "
                     "sound is due, silence elsewhere",
                     soundCorrelation));
        const double pillWidth = 200;
        svg.rectangle(allPass(judgements_) ? "pass" : "fail", {right_ - pillWidth, 26, pillWidth, 28}, 14);
        svg.text("pill", {right_ - pillWidth / 2, 44.5}, closingLine(judgements_));
        constexpr std::array<std::pair<const char*, const char*>, 5> legend{
            {{"source", "what the player plays"},
             {"inStep", "outputs in step"},
             {"alone", "one output alone"},
             {"fault", "fault"},
             {unjudged, "not judged"}}};
        double x = margin;
        for (const auto& [style, meaning] : legend) {
            svg.rectangle(style, {x, 77, 10, 10}, 2.5);
            svg.text("legend", {x + 15, 86}, meaning);
            x += 15 + 6.6 * static_cast<double>(widthOf(meaning)) + 22;
        }
    }

    void drawGrounds(SvgWriter& svg) const {
        for (std::size_t lane = 0; lane <= story_.outputs.size(); ++lane)
            svg.rectangle("lane", {plotLeft, laneTop(lane), plotWidth, laneHeight}, 4);
        const int distance = tickDistance(secondsAt(length_));
        for (int second = 0; second <= secondsAt(length_); second += distance) {
            svg.line("grid", {xOf(second), lanesTop_}, {xOf(second), lanesBottom_ + 5});
            svg.text("tick", {xOf(second), lanesBottom_ + 19}, fmt::format("{} s", second));
        }
    }

    void drawSteps(SvgWriter& svg) const {
        double nextFree = 0;
        for (std::size_t i = 0; i < story_.steps.size(); ++i) {
            const StoryStep& step = story_.steps[i];
            const bool passes = judgements_[i].passes();
            const double left = xOf(step.from);
            const double right = xOf(step.to);
            svg.rectangle(passes ? "passSpan" : "failSpan",
                          {left, lanesTop_, right - left, lanesBottom_ - lanesTop_}, 0);
            const double bar = lanesBottom_ + 33;
            svg.line(passes ? "passBar" : "failBar", {left, bar}, {right, bar});
            const double x = std::max((left + right) / 2, nextFree);
            drawBadge(svg, i, {x, bar});
            nextFree = x + 2 * badgeRadius + 2;
        }
    }

    /// Round for a step that passes, a square for one that fails.
    void drawBadge(SvgWriter& svg, std::size_t step, Point center) const {
        if (judgements_[step].passes()) {
            svg.circle("pass", center, badgeRadius);
        } else {
            svg.rectangle("fail",
                          {center.x - badgeRadius, center.y - badgeRadius, 2 * badgeRadius, 2 * badgeRadius},
                          3);
        }
        svg.text("number", {center.x, center.y + 4}, fmt::format("{}", step + 1));
    }

    void drawWaveforms(SvgWriter& svg) const {
        std::vector<std::vector<Extent>> waveforms{waveformOf(playedSource(), plotWidth)};
        for (const std::vector<Frame>& recording : material_.recordings)
            waveforms.push_back(waveformOf(recording, plotWidth));
        float peak = 0;
        for (const std::vector<Extent>& waveform : waveforms)
            peak = std::max(peak, peakOf(waveform));
        const double scale = (laneHeight / 2 - 3) / static_cast<double>(peak);

        for (std::size_t lane = 0; lane < waveforms.size(); ++lane) {
            svg.line("middle", {plotLeft, laneMiddle(lane)}, {plotLeft + plotWidth, laneMiddle(lane)});
            const std::vector<const char*> styles = columnStyles(lane);
            for (std::size_t begin = 0, end = 0; begin < plotWidth; begin = end) {
                while (end < plotWidth && styles[end] == styles[begin])
                    ++end;
                const std::string outline =
                    outlineOf(waveforms[lane], begin, end, plotLeft, laneMiddle(lane), scale);
                if (!outline.empty()) svg.path(styles[begin], outline);
            }
            drawLaneName(svg, lane);
        }
    }

    void drawLaneName(SvgWriter& svg, std::size_t lane) const {
        const bool isSource = lane == 0;
        const std::string name = isSource ? "Source" : story_.outputs[lane - 1].name;
        const std::string kind = isSource ? "as the player plays it" : story_.outputs[lane - 1].kind;
        svg.text("name", {margin, laneMiddle(lane) - 2}, shortened(name, 18));
        svg.text("kind", {margin, laneMiddle(lane) + 15}, shortened(kind, 24));
    }

    std::vector<const char*> columnStyles(std::size_t lane) const {
        if (lane == 0) return std::vector<const char*>(plotWidth, "source");
        std::vector<const char*> styles(plotWidth, unjudged);
        for (std::size_t i = 0; i < story_.steps.size(); ++i) {
            const char* style = laneStyle(story_.steps[i], judgements_[i], lane - 1);
            std::fill(styles.begin() + static_cast<std::ptrdiff_t>(columnOf(story_.steps[i].from)),
                      styles.begin() + static_cast<std::ptrdiff_t>(columnOf(story_.steps[i].to)), style);
        }
        return styles;
    }

    /// The source on the timeline of the recordings: at the lag at which it was heard last, or is heard next.
    std::vector<Frame> playedSource() const {
        struct Change {
            std::int64_t begin;
            std::int64_t lag;
        };
        std::vector<Change> changes;
        std::int64_t lastHeard = 0;
        for (std::size_t i = 0; i < story_.steps.size(); ++i) {
            for (std::size_t output = 0; output < story_.outputs.size(); ++output) {
                if (!judgements_[i].isHeard(output)) continue;
                const std::int64_t lag = *judgements_[i].outputs[output].lag;
                if (changes.empty() || changes.back().lag != lag)
                    changes.push_back({changes.empty() ? 0 : sampleAt(story_.steps[i].from), lag});
                lastHeard = std::max(lastHeard, sampleAt(story_.steps[i].to));
                break;
            }
        }
        if (changes.empty()) changes.push_back({0, 0});
        std::vector<Frame> played;
        for (std::size_t i = 0; i < changes.size(); ++i) {
            const std::int64_t end = i + 1 < changes.size() ? changes[i + 1].begin : length_;
            const auto due =
                material_.source.due({changes[i].begin, std::max(end, changes[i].begin)}, changes[i].lag);
            played.insert(played.end(), due.begin(), due.end());
        }
        // Before its beginning nothing was played, nor past its end unless it was still heard.
        const std::int64_t begin = std::clamp(changes.front().lag, std::int64_t{0}, length_);
        const std::int64_t end =
            std::clamp(changes.back().lag + material_.source.length(), lastHeard, length_);
        std::fill(played.begin(), played.begin() + begin, Frame());
        std::fill(played.begin() + end, played.end(), Frame());
        return played;
    }

    void drawEvents(SvgWriter& svg) const {
        for (std::size_t i = 0; i < events_.size(); ++i) {
            const double x = xOf(events_[i].time);
            const Point bend{x, lanesTop_ - 6};
            const Point dot{labels_[i], lanesTop_ - eventFoot + 8};
            svg.line("eventLine", bend, {x, lanesBottom_});
            svg.line("eventLine", dot, bend);
            svg.circle("eventDot", dot, 3);
            svg.slantedText("event", {dot.x + 7, dot.y - 5}, -eventAngle, events_[i].label);
        }
    }

    void drawKey(SvgWriter& svg) const {
        const double columnWidth = (right_ - margin) / keyColumns;
        const std::size_t rows = (story_.steps.size() + keyColumns - 1) / keyColumns;
        for (std::size_t i = 0; i < story_.steps.size(); ++i) {
            const StoryStep& step = story_.steps[i];
            const StepJudgement& judgement = judgements_[i];
            const double x = margin + columnWidth * static_cast<double>(i / rows);
            const double y = keyTop_ + keyRowHeight * static_cast<double>(i % rows);
            drawBadge(svg, i, {x + badgeRadius, y});
            svg.text("stepName", {x + 28, y - 1}, shortened(step.name, longestKey - 10));
            svg.text(
                judgement.passes() ? "stepFigures" : "stepReason", {x + 28, y + 15},
                shortened(judgement.passes() ? figuresOf(story_, step, judgement) : judgement.reasons.front(),
                          longestKey));
        }
    }

    const Material& material_;
    const Story& story_;
    const std::vector<StepJudgement>& judgements_;
    std::int64_t length_;
    /// In the order of time, with labels that fit.
    std::vector<StoryEvent> events_;
    /// Where their labels begin.
    std::vector<double> labels_;
    double right_ = plotLeft + plotWidth;
    double lanesTop_ = 0;
    double lanesBottom_ = 0;
    double keyTop_ = 0;
};

} // namespace

std::string timelineSVG(const Material& material, const std::vector<StepJudgement>& judgements) {
    return Drawing(material, judgements).draw();
}

} // namespace velto
