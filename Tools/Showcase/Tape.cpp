#include "Tools/Showcase/Tape.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace velto {

void Tape::record(SoundLab& lab, double longestSeconds) {
    const std::int64_t before = monotonicNow();
    const double reached = recorder_ ? seconds(before) : 0;
    const bool isFirst = !recorder_;
    recorder_.emplace(lab, outputs_, OutputRecorder::GraphClock::dummyDriver, longestSeconds);
    if (isFirst) return;
    const double begin = reached - recorder_->timelineSeconds(before);
    offsetFrames_ = std::llround(begin * OutputRecorder::sampleRate);
}

void Tape::pause() {
    recorder_->stop();
    for (const std::string& output : outputs_) {
        const std::vector<float> take = recorder_->samples(output);
        std::vector<float>& tape = samples_[output];
        tape.resize(2 * static_cast<std::size_t>(offsetFrames_));
        tape.insert(tape.end(), take.begin(), take.end());
    }
}

double Tape::seconds(std::int64_t monotonic) const {
    return recorder_ ? offset() + recorder_->timelineSeconds(monotonic) : 0;
}

double Tape::heardUntil(const std::string& output) const {
    const auto frame = static_cast<double>(recorder_->heardUntil(output));
    return offset() + frame / OutputRecorder::sampleRate;
}

void Tape::write(const std::string& output, const std::filesystem::path& file) const {
    writeRecording(file, samples_.at(output));
}

} // namespace velto
