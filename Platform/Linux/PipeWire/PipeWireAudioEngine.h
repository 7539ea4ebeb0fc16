// PipeWireAudioEngine: plays what the program renders through a stream of the sound server, into whatever is
// the default output.
//
// Owned by the program's root, used on the main actor, where its loop is served. Each run has a connection of
// its own; only the render block runs on the audio thread, which ends with the run. A server that goes away
// ends the sound and is logged, once; the run still ends by stop().
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Sync/AudioEngine.h"

#include <memory>
#include <string>

namespace velto {

class PipeWireAudioEngine final : public AudioEngine {
  public:
    /// The client answers for the default output. `remote` names the server's socket or is its absolute path;
    /// empty for the user's own server.
    PipeWireAudioEngine(CoreAudioClient& client, FileDescriptorWatcher& watcher, std::string remote = {});
    PipeWireAudioEngine(const PipeWireAudioEngine&) = delete;
    PipeWireAudioEngine& operator=(const PipeWireAudioEngine&) = delete;
    ~PipeWireAudioEngine() override;

    double outputSampleRate() override;
    void start(double sampleRate, RenderBlock render) override;
    void stop() noexcept override;

  private:
    class Run;

    CoreAudioClient& client_;
    FileDescriptorWatcher& watcher_;
    std::string remote_;
    std::unique_ptr<Run> run_; // none while nothing plays
};

} // namespace velto
