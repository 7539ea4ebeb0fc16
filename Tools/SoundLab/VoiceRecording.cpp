#include "Tools/SoundLab/VoiceRecording.h"

#include <sndfile.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

namespace velto {

namespace {

constexpr int sampleRate = 48000;
constexpr std::array recordings{"Front_Left", "Side_Right",   "Rear_Center", "Front_Right",
                                "Rear_Left",  "Front_Center", "Side_Left",   "Rear_Right"};

std::vector<float> readRecording(const std::string& name) {
    const std::string path = "/usr/share/sounds/alsa/" + name + ".wav";
    SF_INFO format{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &format);
    if (!file || format.channels != 1 || format.samplerate != sampleRate) {
        if (file) sf_close(file);
        throw std::runtime_error("The voice recording " + path +
                                 " is missing: install the package alsa-utils");
    }
    std::vector<float> samples(static_cast<std::size_t>(format.frames));
    samples.resize(static_cast<std::size_t>(sf_readf_float(file, samples.data(), format.frames)));
    sf_close(file);
    return samples;
}

/// All recordings one after the other, over and over, each round beginning `step` recordings further on.
std::vector<float> speech(const std::vector<std::vector<float>>& voices, std::size_t first, std::size_t step,
                          std::size_t frames) {
    std::vector<float> result;
    for (std::size_t round = 0; result.size() < frames; ++round)
        for (std::size_t i = 0; i < voices.size(); ++i) {
            const auto& voice = voices[(first + round * step + i) % voices.size()];
            result.insert(result.end(), voice.begin(), voice.end());
        }
    result.resize(frames);
    return result;
}

void writeStereo(const std::filesystem::path& file, const std::vector<float>& left,
                 const std::vector<float>& right) {
    std::vector<float> stereo;
    stereo.reserve(left.size() * 2);
    for (std::size_t i = 0; i < left.size(); ++i) {
        stereo.push_back(left[i]);
        stereo.push_back(right[i]);
    }
    SF_INFO format{};
    format.samplerate = sampleRate;
    format.channels = 2;
    format.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* output = sf_open(file.c_str(), SFM_WRITE, &format);
    const auto count = static_cast<sf_count_t>(left.size());
    const bool isWritten = output && sf_writef_float(output, stereo.data(), count) == count;
    if (output) sf_close(output);
    if (!isWritten) throw std::runtime_error("The file " + file.string() + " can't be written");
}

} // namespace

void writeVoiceRecording(const std::filesystem::path& file, double seconds) {
    std::vector<std::vector<float>> voices;
    for (const char* name : recordings)
        voices.push_back(readRecording(name));
    const auto frames = static_cast<std::size_t>(seconds * sampleRate);
    writeStereo(file, speech(voices, 0, 3, frames), speech(voices, 5, 1, frames));
}

void writeNoiseRecording(const std::filesystem::path& file, double seconds) {
    const auto frames = static_cast<std::size_t>(seconds * sampleRate);
    const std::vector<float> noise = speech({readRecording("Noise")}, 0, 0, frames);
    writeStereo(file, noise, noise);
}

void writeToneRecording(const std::filesystem::path& file, double seconds) {
    std::vector<float> tone(static_cast<std::size_t>(seconds * sampleRate));
    for (std::size_t frame = 0; frame < tone.size(); ++frame)
        tone[frame] = static_cast<float>(
            0.5 * std::sin(2 * std::numbers::pi * 440 * static_cast<double>(frame) / sampleRate));
    writeStereo(file, tone, tone);
}

} // namespace velto
