#include "Platform/Linux/PipeWire/PipeWireMicrophone.h"

#include "Platform/Linux/Delay/ClientLibrary.h"
#include "Platform/Linux/PipeWire/PipeWireRecording.h"

#include <utility>

namespace velto {

PipeWireMicrophone::PipeWireMicrophone(FileDescriptorWatcher& watcher, std::string remote)
    : watcher_(watcher), remote_(std::move(remote)) {
    beginWithClientLibrary();
}

PipeWireMicrophone::~PipeWireMicrophone() { pw_deinit(); }

std::unique_ptr<Microphone::Recording> PipeWireMicrophone::record(const std::string& uid, double sampleRate) {
    return std::make_unique<PipeWireRecording>(watcher_, remote_, uid, sampleRate);
}

} // namespace velto
