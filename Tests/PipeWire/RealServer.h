// RealServer: a test on a sound server of its own, with a client under test and a lab beside it.
//
// Fails every test that leaves an aggregate, a note of ours, a listener, a changed output or a process
// behind, or that ends with a dead server it didn't kill itself.
#pragma once

#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"
#include "Simulation/RecordingLogSink.h"
#include "Tests/Support/StatusThrown.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/PrivateSoundServer.h"
#include "Tools/SoundLab/SoundLab.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class RealServer : public testing::Test {
  protected:
    static constexpr Duration deadline = std::chrono::seconds(10);
    static constexpr const char* aggregateUID = "com.corlent.velto.aggregate";

    RealServer();
    ~RealServer() override;
    void SetUp() override;
    void TearDown() override;

    // Verbs

    /// Plugs the usual outputs: "desk" (built in, the default), "usb" and "blue".
    void plugUsualOutputs();
    /// Plugs an output in, or pulls it; the client knows when this returns.
    AudioObjectID plug(const VirtualOutput& output);
    void unplug(const std::string& name);
    /// One of the usual outputs, to be plugged in again.
    static VirtualOutput usual(const std::string& name);
    /// Starts the client under test; it sees all that the lab sees when this returns.
    void startClient();
    void stopClient() { client.reset(); }
    /// Runs the main loop until the condition holds; false after a long while.
    bool runUntil(const std::function<bool()>& condition, Duration longest = deadline);
    /// All that the server has said so far has reached the client and its listeners.
    void settle();

    /// Kills the server, which takes the lab's connection with it.
    void killServer();
    /// Starts it again, with a new lab and the usual outputs.
    void restartServer();

    /// Listens until the end of the test.
    void listen(AudioObjectID object, AudioObjectPropertySelector selector, PropertyListenerHandler handler);
    /// Removes what listen() has added.
    void stopListening();

    AudioObjectID id(std::string_view uid);
    /// The present devices' UIDs in order.
    std::vector<std::string> deviceUIDs();
    /// Empty when there is none, and while nobody answers.
    std::string defaultUID();
    std::string alertUID();

    AudioObjectID createAggregate(std::vector<std::string> uids);
    /// Sound and alerts go to the device, as a session has it.
    void switchTo(AudioObjectID device);
    /// Whether no session is left and sound goes to "desk" again, perhaps in a moment.
    bool isPutBack();
    static AggregateDeviceDescription description(std::vector<std::string> uids);

    /// Global entries of the server's stores that are ours.
    std::vector<std::string> ourNotes();
    /// Whether they are gone, perhaps in a moment.
    bool leavesNoNotes();
    /// Whether the rate that the graph is forced to is this one, perhaps in a moment.
    bool becomesForced(const std::string& rate);
    void setSetting(const std::string& key, const std::string& value);
    void setDefaultMetadata(const std::string& key, const std::string& value);

    /// The lab sees what the store holds now, also if it was not told of a change.
    void refreshLab() { lab->refresh(); }

    /// Plays noise with the stock player until the value goes, as an alert where a role is given.
    std::unique_ptr<ChildProcess> play(const std::string& role = "Music");
    /// Whether a program, and not one of our aggregates, plays into the output now.
    bool isPlayedTo(const std::string& name);

  private:
    std::string uidOf(AudioObjectID (PipeWireAudioClient::*output)());

    struct NoProcessLeft {
        ~NoProcessLeft();
    };
    NoProcessLeft noProcessLeft_; // looks last

  protected:
    LinuxMainActor loop;
    RecordingLogSink log;
    PrivateSoundServer server;
    std::optional<SoundLab> lab;
    std::optional<PipeWireAudioClient> client;

  private:
    std::vector<PropertyListenerTokenRef> tokens_;
    std::string defaultBefore_;
    std::string alertBefore_;
    bool isKilled_ = false;
};

} // namespace velto
