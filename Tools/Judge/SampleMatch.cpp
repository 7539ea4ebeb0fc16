#include "Tools/Judge/SampleMatch.h"

#include <algorithm>
#include <cmath>

namespace velto::judge {

namespace {

/// What passes for the same sample: one step of 16-bit sound, or this part of the sample.
constexpr float smallestStep = 1.0f / 32768;
constexpr float relativeTolerance = 0.002f;
/// An amplitude at the silent level.
constexpr float audibleAmplitude = 1e-4f;

bool isSame(float heard, float due) {
    return std::abs(heard - due) <= std::max(smallestStep, relativeTolerance * std::abs(due));
}

float medianRatio(Frames heard, Frames played, float Frame::* channel) {
    std::vector<float> ratios;
    for (std::size_t i = 0; i < heard.size(); ++i) {
        if (std::abs(played[i].*channel) >= audibleAmplitude)
            ratios.push_back(heard[i].*channel / played[i].*channel);
    }
    if (ratios.empty()) return 0;
    const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
    std::ranges::nth_element(ratios, middle);
    return *middle;
}

} // namespace

SampleMatch::SampleMatch(const Source& source, Frames recording, SampleRange range, std::int64_t lag,
                         Gain gain)
    : recording_(recording), begin_(range.begin), due_(source.due(range, lag)) {
    for (Frame& frame : due_)
        frame = {frame.left * gain.left, frame.right * gain.right};
}

Gain SampleMatch::gainIn(const Source& source, Frames recording, SampleRange range, std::int64_t lag) {
    const std::vector<Frame> played = source.due(range, lag);
    const Frames heard = range.of(recording);
    return {.left = medianRatio(heard, played, &Frame::left),
            .right = medianRatio(heard, played, &Frame::right)};
}

bool SampleMatch::matches(std::int64_t sample) const {
    const Frame& heard = recording_[static_cast<std::size_t>(sample)];
    const Frame& due = due_[static_cast<std::size_t>(sample - begin_)];
    return isSame(heard.left, due.left) && isSame(heard.right, due.right);
}

bool SampleMatch::isAudible(std::int64_t sample) const {
    const Frame& due = due_[static_cast<std::size_t>(sample - begin_)];
    return std::max(std::abs(due.left), std::abs(due.right)) >= audibleAmplitude;
}

} // namespace velto::judge
