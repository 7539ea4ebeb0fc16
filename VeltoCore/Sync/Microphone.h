// Microphone: hears what outputs sound like, for as long as somebody measures.
//
// Owned by the root of the object graph; main actor only. An input is open while a recording of it lives and
// at no other time, and nothing of what was heard outlives the recording. Core Audio: never, for now.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class Microphone {
  public:
    class Recording {
      public:
        enum class Trouble {
            /// What is heard is not that input, but another one or what an output plays.
            anotherInput,
            /// Nothing is heard any more: the input, or the audio service, has gone.
            ended,
        };

        virtual ~Recording() = default;
        /// The name of the input that is heard; empty until something is.
        virtual std::string input() const = 0;
        /// Why what is heard is worth nothing.
        virtual std::optional<Trouble> trouble() const = 0;
        /// Heard since the last take, or the beginning.
        virtual std::size_t frames() const = 0;
        /// The loudest of the last moment, from 0 to 1.
        virtual float level() const = 0;
        /// What these frames are, from -1 to 1, and forgets them.
        virtual std::vector<float> take() = 0;
    };

    virtual ~Microphone() = default;
    /// Opens the input of that UID, or the default one where it is empty, and hears it as one channel of that
    /// rate from some moment on. Throws std::runtime_error, with a sentence, where nothing can be recorded.
    virtual std::unique_ptr<Recording> record(const std::string& uid, double sampleRate) = 0;
};

} // namespace velto
