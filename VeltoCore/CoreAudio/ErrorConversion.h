// ErrorConversion: errors of any type as the core's own. The first two are for handlers: `catch (...)`.
#pragma once

#include "VeltoCore/Async/Task.h"
#include "VeltoCore/CoreAudio/AudioManagerError.h"

#include <optional>
#include <string>
#include <utility>

namespace velto {

/// The error being handled; one of a foreign type becomes `aggregateCreationFailed` with its description.
AudioManagerError currentAudioManagerError();

/// What the error being handled says of itself.
std::string currentErrorDescription();

/// How the task failed; none when it ended well.
template <class T>
Task<std::optional<AudioManagerError>> failureOf(Task<T> task) {
    try {
        static_cast<void>(co_await std::move(task));
    } catch (...) {
        co_return currentAudioManagerError();
    }
    co_return std::nullopt;
}

} // namespace velto
