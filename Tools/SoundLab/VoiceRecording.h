// VoiceRecording: long stereo files made of the recordings that come with ALSA's tools.
#pragma once

#include <filesystem>

namespace velto {

/// Writes at least that many seconds of speech as 16-bit WAV at 48 kHz. The channels differ, and no stretch
/// of twenty seconds comes twice in the same way, so that any piece of it tells where it is from. Throws
/// std::runtime_error with one sentence when the recordings aren't installed.
void writeVoiceRecording(const std::filesystem::path& file, double seconds);

/// The same from the recording of noise, without any pause.
void writeNoiseRecording(const std::filesystem::path& file, double seconds);

/// A tone of 440 Hz, half as loud as can be. Needs nothing installed.
void writeToneRecording(const std::filesystem::path& file, double seconds);

} // namespace velto
