// StoryTeller: plays the steps of a random story on a machine of its own, and judges each quiet point.
//
// It has five devices, a program, and what an observer can say about where sound belongs. Throws
// std::runtime_error with the invariants that are violated.
#pragma once

#include "Tests/Support/Application.h"
#include "Tests/Support/RandomStory.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class StoryTeller {
  public:
    StoryTeller();
    ~StoryTeller() { app_.reset(); }

    void take(const Step& step);

    /// Whatever was, a reset and a quit without failing calls leave nothing behind.
    void end();

  private:
    void launch() {
        app_ = std::make_unique<Application>(machine_);
        app_->launch();
    }
    const std::string& device(int which) const {
        static const std::vector<std::string> uids{"builtin", "usb", "bluetooth", "hdmi", "old"};
        return uids.at(static_cast<std::size_t>(which) % uids.size());
    }
    std::optional<UUID> preset(int which) const {
        const auto& presets = app_->preferences.presets();
        if (presets.empty()) return std::nullopt;
        return presets.at(static_cast<std::size_t>(which) % presets.size()).id;
    }
    /// Whether it can be picked.
    bool isThere(const std::string& uid) const {
        return machine_.world.isPlugged(uid) && machine_.world.device(uid).isAlive;
    }
    /// From here to the next quiet point without a session, sound may go anywhere.
    void loseTrack() {
        home_.reset();
        alertHome_.reset();
    }
    void callsMayFail() {
        mayFail_ = true;
        loseTrack();
    }

    /// What is wrong, but for listeners that could not be added or removed: until the program dies, one that
    /// stays is called, and nobody is told of what one that is missing would have heard, such as that the
    /// audio service answers again: a reset puts that in order.
    std::vector<std::string> withoutStrays(std::vector<std::string> faults) const;

    /// Whether the program may not hear of what happens.
    bool isDeaf() const { return machine_.log.count("Could not observe") > 0; }
    bool isEverythingReadable() const {
        return std::ranges::all_of(machine_.world.pluggedUIDs(), [this](const std::string& uid) {
            return machine_.world.device(uid).isReadable;
        });
    }
    void perform(const Step& step);
    void performByUser(const Step& step);
    void performByWorld(const Step& step);
    void setPreference(int which, int value);
    void loseAggregate();
    void plugOrUnplug(const std::string& uid, bool asAnother);
    static void changeDevice(SimulatedDevice& device, const Step& step);
    void pickDefault(const std::string& uid);
    void pickAlertOutput(const std::string& uid);
    void breakSomething(const Step& step);
    void bringAudioServiceBack();
    void checkQuietPoint();

    Machine machine_;
    std::unique_ptr<Application> app_;
    std::vector<Started<void>> begun_;
    bool isQuiet_ = true;
    /// Where sound goes without a session; none while that can't be told.
    std::optional<std::string> home_ = "usb";
    /// Where alerts go then.
    std::optional<std::string> alertHome_ = "hdmi";
    bool mayFail_ = false;
    bool isOutputSlow_ = false;
    bool hasMeddled_ = false;
};

} // namespace velto
