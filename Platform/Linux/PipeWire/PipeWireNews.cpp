#include "Platform/Linux/PipeWire/PipeWireNews.h"

#include "Platform/Linux/PipeWire/PipeWireAggregates.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "Platform/Linux/PipeWire/PipeWireSystemOutputs.h"

#include <utility>

namespace velto {

void PipeWireNews::begin() {
    wasSilent_ = !isAnswering();
    told_ = current();
}

bool PipeWireNews::isAnswering() const noexcept { return graph_.isComplete() && !connection_.isSilent(); }

void PipeWireNews::tellLater() {
    // Nobody answers for the default output. It may be over by the turn of the loop, but not for who asked.
    if (!outputs_.hasSessionManager()) noteSilence();
    if (std::exchange(isTelling_, true)) return;
    actor_.post(lifetime_.whileAlive([this] {
        isTelling_ = false;
        tell();
    }));
}

void PipeWireNews::tell() {
    if (!connection_.isConnected() || !graph_.isComplete()) return;
    PipeWireSnapshot next = current();
    std::set<ListenedProperty> changed = told_.differences(next);
    told_ = std::move(next);
    // A server that came back has its devices, and a session manager that has chosen among them.
    if (wasSilent_ && isAnswering() && outputs_.hasSessionManager() && outputs_.defaultOutput()) {
        wasSilent_ = false;
        changed.emplace(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted);
    }
    if (!changed.empty()) listeners_.notify(changed);
}

} // namespace velto
