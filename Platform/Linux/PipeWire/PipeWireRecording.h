// PipeWireRecording: one recording of a PipeWireMicrophone, from its connection to its end.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "Platform/Linux/PipeWire/PipeWireStream.h"
#include "Platform/POSIX/FileDescriptorWatcher.h"
#include "VeltoCore/Sync/Microphone.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class PipeWireRecording final : public Microphone::Recording {
  public:
    /// Throws std::runtime_error. The input's UID is empty for the default one.
    PipeWireRecording(FileDescriptorWatcher& watcher, const std::string& remote, std::string uid,
                      double sampleRate);
    PipeWireRecording(const PipeWireRecording&) = delete;
    PipeWireRecording& operator=(const PipeWireRecording&) = delete;
    ~PipeWireRecording() override;

    std::string input() const override { return input_; }
    std::optional<Trouble> trouble() const override { return trouble_; }
    std::size_t frames() const override { return count_.load(std::memory_order_acquire) - taken_; }
    float level() const override;
    std::vector<float> take() override;

  private:
    struct Events;

    void openStream();
    void look();
    void stateChanged(pw_stream_state state);
    void process();

    std::string uid_;
    std::uint32_t sampleRate_;
    std::size_t capacity_;
    std::unique_ptr<float[]> samples_;
    std::atomic<std::size_t> count_ = 0; // of the samples that are there; grows on the audio thread
    std::size_t taken_ = 0;
    std::string input_;
    std::optional<Trouble> trouble_;
    pw_registry* registry_ = nullptr;
    PipeWireGraph graph_;
    PipeWireStream stream_; // goes first, and with it the audio thread
};

} // namespace velto
