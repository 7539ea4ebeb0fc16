// DeviceBench: the hands on a simulated computer: plugs, cables, the system's own settings, and misfortune.
//
// Owned by the simulator's entry point; main actor only. It changes the world as a user would, never Velto.
#pragma once

#include "Velto/Simulator/SimulatedComputer.h"
#include "VeltoCore/Observation/Observable.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

struct BenchDevice {
    std::string uid;
    std::string name;
    /// How it is connected, for a reader.
    std::string transport;
    bool isPlugged = false;
    bool isDefault = false;
    /// It takes part in a session.
    bool isInAggregate = false;
    bool hasVolume = false;
    /// From 0 to 1.
    float volume = 0;
    /// In Hz.
    double sampleRate = 0;

    friend bool operator==(const BenchDevice&, const BenchDevice&) = default;
};

class DeviceBench {
  public:
    /// The computer must outlive the bench.
    explicit DeviceBench(SimulatedComputer& computer) : computer_(computer) {}

    /// Calls the handler after every change of the world.
    Subscription observe(std::function<void()> handler) { return world().observe(std::move(handler)); }

    /// All outputs, the unplugged ones last.
    std::vector<BenchDevice> devices() const;
    /// Name of the default output, or a dash.
    std::string defaultOutputName() const;
    /// The last calls of the client, the newest first, such as "setDefaultOutputDevice 47".
    std::vector<std::string> recentCalls() const;
    std::size_t callCount() const { return computer_.world().calls.total(); }

    // Verbs. A UID that fits none does nothing.

    void togglePlug(std::string_view uid);
    void rename(std::string_view uid, std::string name);
    void setVolume(std::string_view uid, float volume);
    /// Between 44.1 and 48 kHz.
    void toggleSampleRate(std::string_view uid);
    void pickDefault(std::string_view uid);
    /// One more output, of a kind that there isn't yet.
    void plugAnother();
    void fallAsleep() { computer_.fallAsleep(); }
    void wakeUp() { computer_.wakeUp(); }
    void restartAudioService();
    /// The next combined output can't be made.
    void failNextStart();
    /// The next call of the client fails, whatever it is.
    void failNextCall();

  private:
    SimulatedAudioSystem& world() const { return computer_.world(); }

    SimulatedComputer& computer_;
    int plugged_ = 0;                                           // by plugAnother()
    std::map<std::string, std::string, std::less<>> unplugged_; // names by UID, as they went
};

} // namespace velto
