// SoundLab: the hands and eyes of a test on a real server: plugs and unplugs outputs, picks the default as
// somebody else would, and sees what the server has.
//
// It is a client of its own with a thread of its own, so it works while the program under test waits.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireGraph.h"

#include <pipewire/pipewire.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace velto {

/// An output that is not really there: the server plays it into nothing, in real time.
struct VirtualOutput {
    std::string name;
    std::string description;
    /// Properties of the node as hardware would have them: device.bus, device.api, audio.rate, …
    std::map<std::string, std::string> properties;

    static VirtualOutput builtIn(std::string name, std::string description);
    static VirtualOutput usb(std::string name, std::string description);
    static VirtualOutput bluetooth(std::string name, std::string description);
    static VirtualOutput hdmi(std::string name, std::string description);
};

class SoundLab {
  public:
    /// Connects to the server with that socket. Throws std::runtime_error with one sentence when it can't.
    explicit SoundLab(const std::string& socket);
    SoundLab(const SoundLab&) = delete;
    SoundLab& operator=(const SoundLab&) = delete;
    ~SoundLab();

    /// Returns when the output has all its ports; answers that moment on the monotonic clock, in nanoseconds.
    std::int64_t plug(const VirtualOutput& output);
    /// Returns when the output is gone; answers the moment at which that was asked for.
    std::int64_t unplug(const std::string& name);
    /// What somebody else does who picks another output. It may not be obeyed.
    void askForDefault(const std::string& name);
    /// The same: returns when it is the default.
    void pickDefault(const std::string& name);
    /// Sets the linear volumes of an output as another program would.
    void setChannelVolumes(const std::string& name, float volume);

    /// Returns when what the stores hold now is known, also if they didn't tell of a change.
    void refresh();
    /// The loudest linear volume of an output; 0 when it isn't there.
    float channelVolume(const std::string& name);

    /// The name of the default output; empty when there is none.
    std::string defaultOutput();
    /// Entries of the server's stores; none when they aren't there.
    std::optional<std::string> defaultMetadata(const std::string& key);
    std::optional<std::string> settingsMetadata(const std::string& key);
    bool exists(const std::string& name);
    /// Links from one device to another.
    int linkCount(const std::string& from, const std::string& to);
    /// Waits until the condition, asked under the lock after every change, holds.
    bool waitUntil(const std::function<bool()>& condition,
                   std::chrono::milliseconds timeout = std::chrono::seconds(5));
    /// The same for the default output.
    bool waitForDefault(const std::string& name);

    // For what else listens on this connection, such as the recorder.

    /// Locks the lab's thread out for the life of the value. May be nested.
    class Lock {
      public:
        explicit Lock(SoundLab& lab) : loop_(lab.loop_) { pw_thread_loop_lock(loop_); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock() { pw_thread_loop_unlock(loop_); }

      private:
        pw_thread_loop* loop_;
    };
    PipeWireGraph& graph() noexcept { return graph_; }
    pw_core* core() const noexcept { return core_; }
    /// Called in the lab's thread after every change of the graph; null for none.
    void onChange(std::function<void()> handler);

  private:
    void changed();
    void close();

    pw_thread_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_registry* registry_ = nullptr;
    PipeWireGraph graph_;
    std::function<void()> onChange_;
};

/// The monotonic clock, in nanoseconds: that of the server's cycles.
std::int64_t monotonicNow();

} // namespace velto
