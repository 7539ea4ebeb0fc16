// PipeWireRequest: an object that the server was asked to create, until it is seen or refused.
#pragma once

#include <pipewire/pipewire.h>

#include <cstdint>
#include <functional>
#include <string>

namespace velto {

class PipeWireRequest {
  public:
    /// Asks for an object, and takes the properties over. The object lingers: it stays when this goes. Calls
    /// `refused` from within a server callback, where this may not go.
    PipeWireRequest(pw_core* core, const char* factory, const char* type, uint32_t version,
                    pw_properties* properties, std::function<void()> refused = {});
    PipeWireRequest(const PipeWireRequest&) = delete;
    PipeWireRequest& operator=(const PipeWireRequest&) = delete;
    ~PipeWireRequest();

    /// Refused, or made and gone again.
    bool isOver() const noexcept { return isOver_; }
    /// Why it was refused; empty when it wasn't.
    const std::string& refusal() const noexcept { return refusal_; }

  private:
    struct Events;

    std::function<void()> refused_;
    pw_proxy* proxy_ = nullptr;
    spa_hook hook_{};
    bool isOver_ = false;
    std::string refusal_;
};

} // namespace velto
