// PipeWireVolumeWrites: volumes and mutes on their way to the server.
//
// A write waits for nothing. One is on its way for each control at a time; of what is asked meanwhile, the
// latest is sent next, so a slider that is dragged while the server hangs leaves one write behind, not
// hundreds. What was asked counts until the control is heard to change or the server has answered without
// doing it.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "VeltoCore/Async/MainActor.h"

#include <compare>
#include <functional>
#include <map>
#include <optional>

namespace velto {

class PipeWireVolumeWrites {
  public:
    enum class Kind { volume, mute };
    struct Control {
        AudioObjectID device;
        Kind kind;
        auto operator<=>(const Control&) const = default;
    };

    /// `refused` is called, in a turn of the main loop, for a control that stayed as it was.
    PipeWireVolumeWrites(MainActor& actor, PipeWireConnection& connection, PipeWireGraph& graph,
                         std::function<void(Control)> refused);
    PipeWireVolumeWrites(const PipeWireVolumeWrites&) = delete;
    PipeWireVolumeWrites& operator=(const PipeWireVolumeWrites&) = delete;
    ~PipeWireVolumeWrites() { forget(); }

    /// The scalar volume, from 0 to 1.
    void setVolume(AudioObjectID device, float volume) { write({device, Kind::volume}, volume); }
    void setMute(AudioObjectID device, bool isMuted) { write({device, Kind::mute}, isMuted ? 1.0F : 0.0F); }
    /// What was asked and is not settled yet; none otherwise. A mute is 1 or 0.
    std::optional<float> asked(Control control) const;

    /// Called on every change, also from within server callbacks.
    void follow();
    /// The server is gone.
    void forget();

  private:
    struct Write {
        float asked = 0;
        bool isOnItsWay = false;
        float sent = 0;
        /// What the control said when it was sent.
        std::optional<float> before;
        /// Runs when the server has answered but the control has not changed yet: a session manager that
        /// does the work takes a moment longer.
        std::optional<MainActor::TimerID> grace;
    };

    void write(Control control, float value);
    void send(Control control, Write& write);
    void answered(Control control);
    /// None when the device or its control is not there.
    std::optional<float> current(Control control) const;
    void settle(Control control);

    MainActor& actor_;
    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    std::function<void(Control)> refused_;
    std::map<Control, Write> writes_;
};

} // namespace velto
