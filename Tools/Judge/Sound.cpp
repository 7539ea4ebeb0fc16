#include "Tools/Judge/Sound.h"

#include "Tools/Judge/UnusableInput.h"

#include <fmt/format.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace velto::judge {

namespace {

constexpr double lowestLevel = -200;

bool isFinite(const Frame& frame) { return std::isfinite(frame.left) && std::isfinite(frame.right); }

} // namespace

std::int64_t sampleAt(double time) { return std::llround(time * static_cast<double>(sampleRate)); }

double secondsAt(std::int64_t sample) { return static_cast<double>(sample) / sampleRate; }

double levelOf(Frames frames) {
    double energy = 0;
    for (const Frame& frame : frames)
        energy += double{frame.left} * frame.left + double{frame.right} * frame.right;
    if (energy <= 0) return lowestLevel;
    return std::max(lowestLevel, 10 * std::log10(energy / (2 * static_cast<double>(frames.size()))));
}

std::vector<Frame> readSound(const std::string& file) {
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> opened(sf_open(file.c_str(), SFM_READ, &info),
                                                             sf_close);
    if (!opened) throw UnusableInput(fmt::format("{} can't be read: {}", file, sf_strerror(nullptr)));
    if (info.samplerate != sampleRate)
        throw UnusableInput(fmt::format("{} has {} Hz, not {}.", file, info.samplerate, sampleRate));
    if (info.channels != 2)
        throw UnusableInput(fmt::format("{} has {} channels, not 2.", file, info.channels));

    std::vector<float> samples(2 * static_cast<std::size_t>(std::max<sf_count_t>(info.frames, 0)));
    const sf_count_t count = sf_readf_float(opened.get(), samples.data(), info.frames);
    if (count <= 0) throw UnusableInput(fmt::format("{} holds no sound.", file));

    std::vector<Frame> frames(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < frames.size(); ++i)
        frames[i] = {samples[2 * i], samples[2 * i + 1]};
    if (!std::ranges::all_of(frames, isFinite))
        throw UnusableInput(fmt::format("{} holds samples that are not numbers.", file));
    return frames;
}

} // namespace velto::judge
