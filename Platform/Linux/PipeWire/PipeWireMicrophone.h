// PipeWireMicrophone: hears an input of the sound server through a stream of its own.
//
// Owned by the program's root, used on the main actor, where its loop is served. Each recording has a
// connection of its own, through which it also sees what it is linked to: a session manager that can't give
// it the input gives it another one, or what an output plays. Samples are taken in on an audio thread, which
// ends with the recording.
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"
#include "VeltoCore/Sync/Microphone.h"

#include <memory>
#include <string>

namespace velto {

class PipeWireMicrophone final : public Microphone {
  public:
    /// `remote` names the server's socket or is its absolute path; empty for the user's own server.
    explicit PipeWireMicrophone(FileDescriptorWatcher& watcher, std::string remote = {});
    PipeWireMicrophone(const PipeWireMicrophone&) = delete;
    PipeWireMicrophone& operator=(const PipeWireMicrophone&) = delete;
    ~PipeWireMicrophone() override;

    std::unique_ptr<Recording> record(const std::string& uid, double sampleRate) override;

  private:
    FileDescriptorWatcher& watcher_;
    std::string remote_;
};

} // namespace velto
