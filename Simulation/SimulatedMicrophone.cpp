#include "Simulation/SimulatedMicrophone.h"

#include "VeltoCore/Sync/AlignmentProbe.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

constexpr double leadSeconds = 0.3;

} // namespace

class SimulatedMicrophone::Hearing final : public Microphone::Recording {
  public:
    Hearing(MainActor& actor, const SimulatedAudioSystem& world, SimulatedRoom& room, double sampleRate)
        : actor_(actor), world_(world), room_(room), sampleRate_(sampleRate), begin_(actor.continuousNow()) {
        ++room_.openCount;
    }
    Hearing(const Hearing&) = delete;
    Hearing& operator=(const Hearing&) = delete;
    ~Hearing() override { --room_.openCount; }

    std::string input() const override { return room_.input; }
    std::optional<Trouble> trouble() const override { return room_.trouble; }
    std::size_t frames() const override {
        return room_.input.empty() ? 0 : framesUntil(actor_.continuousNow());
    }
    float level() const override { return static_cast<float>(room_.acoustics.noise); }

    std::vector<float> take() override {
        VirtualRoom heard = room_.acoustics;
        std::array<std::vector<float>, 2> played;
        for (const SimulatedAggregate& aggregate : world_.aggregates())
            if (aggregate.sweeps) played = play(*aggregate.sweeps, heard);
        std::vector<float> result = heard.recording({played[0], played[1]}, sampleRate_, frames());
        begin_ = actor_.continuousNow();
        return result;
    }

  private:
    std::size_t framesUntil(ContinuousInstant end) const {
        const std::chrono::duration<double> seconds = end - begin_;
        return static_cast<std::size_t>(std::max(0.0, seconds.count()) * sampleRate_);
    }

    /// What the outputs play since the beginning, and where they stand in the room.
    std::array<std::vector<float>, 2> play(const SimulatedSweeps& sweeps, VirtualRoom& heard) const {
        const AlignmentProbe probe{.sampleRate = sweeps.sampleRate, .peak = sweeps.peak};
        std::array<std::vector<float>, 2> played;
        for (const std::size_t output : {0U, 1U}) {
            const std::string& uid = output == 0 ? sweeps.rising : sweeps.falling;
            const auto place = room_.outputs.find(uid);
            heard.outputs[output] = place == room_.outputs.end() ? VirtualRoom::Output() : place->second;
            if (!world_.isPlugged(uid)) heard.outputs[output].gain = 0;
            const auto delay = sweeps.delays.find(uid);
            const double late = leadSeconds + (delay == sweeps.delays.end() ? 0 : delay->second / 1000);
            played[output].resize(framesUntil(sweeps.begunAt) +
                                  static_cast<std::size_t>(std::llround(late * sampleRate_)));
            const auto sweep =
                probe.samples(output == 0 ? AlignmentProbe::Sweep::rising : AlignmentProbe::Sweep::falling);
            played[output].insert(played[output].end(), sweep.begin(), sweep.end());
        }
        return played;
    }

    MainActor& actor_;
    const SimulatedAudioSystem& world_;
    SimulatedRoom& room_;
    double sampleRate_;
    ContinuousInstant begin_;
};

std::unique_ptr<Microphone::Recording> SimulatedMicrophone::record(const std::string&, double sampleRate) {
    if (room_.isRefused) throw std::runtime_error("The input can't be opened.");
    return std::make_unique<Hearing>(actor_, world_, room_, sampleRate);
}

} // namespace velto
