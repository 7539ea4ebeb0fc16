// PipeWireWitness: a second connection, which tells whether the server answers others.
//
// PipeWire 0.3.65 holds back what a program sends from when that begins to watch the session manager's store
// until the session manager has spoken. One that dies meanwhile never speaks: the server tells that program
// of every change, but reads nothing from it any more, for good. From within that looks like a server or a
// session manager that hangs, where to connect anew would lose what is known and help nothing. So the witness
// asks what the program asks, that store included: only where neither hangs is it answered.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireMetadata.h"

#include <pipewire/pipewire.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace velto {

class PipeWireWitness {
  public:
    /// Calls back once, from within a server callback; never where there is no server, or it doesn't answer.
    PipeWireWitness(pw_context* context, const std::string& remote, std::function<void()> answered);
    PipeWireWitness(const PipeWireWitness&) = delete;
    PipeWireWitness& operator=(const PipeWireWitness&) = delete;
    /// Not from within a callback of its own.
    ~PipeWireWitness();

  private:
    struct Events;
    /// What has been answered last.
    enum class Step { nothing, listed, watched };

    void proceed();
    void ask() { question_ = pw_core_sync(core_, PW_ID_CORE, 0); }

    std::function<void()> answered_;
    pw_core* core_;
    pw_registry* registry_ = nullptr;
    spa_hook coreHook_{};
    spa_hook registryHook_{};
    std::unique_ptr<PipeWireMetadata> store_;
    Step step_ = Step::nothing;
    int question_ = 0;
};

} // namespace velto
