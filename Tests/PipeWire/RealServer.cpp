#include "Tests/PipeWire/RealServer.h"

#include "Platform/Linux/PipeWire/PipeWireAggregates.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "Tools/SoundLab/ServerState.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <signal.h>
#include <sys/wait.h>
#include <utility>

namespace velto {

namespace {

/// A minute of noise: 16 bits, stereo, 48 kHz.
void writeNoise(const std::filesystem::path& file) {
    constexpr std::uint32_t rate = 48000;
    constexpr std::uint32_t byteCount = rate * 4 * 60;
    std::string wave = "RIFF";
    const auto number = [&](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            wave += static_cast<char>(value >> (8 * i));
    };
    number(36 + byteCount, 4);
    wave += "WAVEfmt ";
    number(16, 4);
    number(1, 2); // PCM
    number(2, 2);
    number(rate, 4);
    number(rate * 4, 4);
    number(4, 2);
    number(16, 2);
    wave += "data";
    number(byteCount, 4);
    std::ofstream stream(file, std::ios::binary);
    stream << wave;
    wave.clear();
    std::minstd_rand random;
    while (wave.size() < byteCount / 60)
        number(static_cast<std::uint32_t>(random()), 2);
    for (int second = 0; second < 60; ++second)
        stream << wave;
}

} // namespace

RealServer::NoProcessLeft::~NoProcessLeft() {
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process was left behind";
    EXPECT_EQ(errno, ECHILD);
}

RealServer::RealServer() = default;
RealServer::~RealServer() = default;

void RealServer::SetUp() {
    lab.emplace(server.socket());
    plugUsualOutputs();
    startClient();
    defaultBefore_ = defaultUID();
    alertBefore_ = alertUID();
    ASSERT_EQ(defaultBefore_, "desk");
}

void RealServer::TearDown() {
    stopListening();
    if (client) {
        EXPECT_EQ(client->listenerCount(), 0u);
        if (!isKilled_) {
            EXPECT_TRUE(runUntil([&] { return defaultUID() == defaultBefore_; })) << defaultUID();
            EXPECT_EQ(alertUID(), alertBefore_);
        }
    }
    client.reset();
    if (isKilled_) return;
    EXPECT_EQ(kill(server.daemonID(), 0), 0) << "the server died";
    EXPECT_TRUE(leavesNoNotes()) << testing::PrintToString(ourNotes());
    EXPECT_TRUE(lab->waitUntil([&] {
        return std::ranges::none_of(lab->graph().devices(), [](const PipeWireNode* node) {
            return PipeWireAggregates::isAggregate(*node);
        });
    })) << "an aggregate was left behind";
}

// Verbs

void RealServer::plugUsualOutputs() {
    for (const char* name : {"desk", "usb", "blue"})
        lab->plug(usual(name));
    ASSERT_TRUE(lab->waitForDefault("desk"));
}

VirtualOutput RealServer::usual(const std::string& name) {
    if (name == "desk") return VirtualOutput::builtIn(name, "Desk Speakers");
    if (name == "usb") return VirtualOutput::usb(name, "USB Interface");
    return VirtualOutput::bluetooth(name, "Headphones");
}

AudioObjectID RealServer::plug(const VirtualOutput& output) {
    lab->plug(output);
    EXPECT_TRUE(runUntil([&] { return id(output.name) != kAudioObjectUnknown; })) << output.name;
    return id(output.name);
}

void RealServer::unplug(const std::string& name) {
    lab->unplug(name);
    EXPECT_TRUE(runUntil([&] { return id(name) == kAudioObjectUnknown; })) << name;
}

void RealServer::startClient() {
    client.emplace(loop, loop, server.socket());
    ASSERT_TRUE(client->isConnected());
}

bool RealServer::runUntil(const std::function<bool()>& condition, Duration longest) {
    // What only the lab sees doesn't wake the loop.
    MainActor::TimerID timer = 0;
    const std::function<void()> lookAgain = [&] {
        timer = loop.postAfter(std::chrono::milliseconds(1), lookAgain);
    };
    lookAgain();
    const bool holds = loop.runUntil(condition, longest);
    loop.cancelTimer(timer);
    return holds;
}

void RealServer::settle() {
    client->settle();
    bool isDone = false;
    loop.post([&] { isDone = true; });
    EXPECT_TRUE(runUntil([&] { return isDone; }));
}

void RealServer::killServer() {
    isKilled_ = true;
    server.kill();
}

void RealServer::restartServer() {
    lab.reset();
    server.start();
    lab.emplace(server.socket());
    plugUsualOutputs();
    isKilled_ = false;
}

void RealServer::listen(AudioObjectID object, AudioObjectPropertySelector selector,
                        PropertyListenerHandler handler) {
    tokens_.push_back(
        client->addPropertyListener(object, selector, kAudioObjectPropertyScopeGlobal, std::move(handler)));
}

void RealServer::stopListening() {
    for (const auto& token : std::exchange(tokens_, {}))
        client->removePropertyListener(token);
}

AudioObjectID RealServer::id(std::string_view uid) {
    return client->deviceID(uid).value_or(kAudioObjectUnknown);
}

std::vector<std::string> RealServer::deviceUIDs() {
    std::vector<std::string> result;
    for (const AudioObjectID device : client->allDeviceIDs())
        result.push_back(client->deviceUID(device));
    return result;
}

std::string RealServer::defaultUID() { return uidOf(&PipeWireAudioClient::defaultOutputDeviceID); }

std::string RealServer::alertUID() { return uidOf(&PipeWireAudioClient::defaultSystemOutputDeviceID); }

std::string RealServer::uidOf(AudioObjectID (PipeWireAudioClient::*output)()) {
    try {
        const AudioObjectID device = ((*client).*output)();
        return device ? client->deviceUID(device) : "";
    } catch (const AudioManagerError&) {
        return ""; // nobody answers
    }
}

AggregateDeviceDescription RealServer::description(std::vector<std::string> uids) {
    AggregateDeviceDescription result;
    result.uid = aggregateUID;
    result.name = "Both";
    result.mainSubDeviceUID = uids.front();
    for (std::string& uid : uids) {
        const bool isMain = uid == result.mainSubDeviceUID;
        result.subDevices.push_back({std::move(uid), !isMain});
    }
    return result;
}

AudioObjectID RealServer::createAggregate(std::vector<std::string> uids) {
    return client->createAggregateDevice(description(std::move(uids)));
}

void RealServer::switchTo(AudioObjectID device) {
    client->setDefaultOutputDevice(device);
    client->setDefaultSystemOutputDevice(device);
}

bool RealServer::isPutBack() {
    return runUntil([&] { return id(aggregateUID) == kAudioObjectUnknown && defaultUID() == "desk"; });
}

std::vector<std::string> RealServer::ourNotes() { return notesOnServer(*lab); }

bool RealServer::leavesNoNotes() {
    refreshLab();
    return lab->waitUntil([this] { return ourNotes().empty(); });
}

bool RealServer::becomesForced(const std::string& rate) {
    return lab->waitUntil([&] { return lab->settingsMetadata(PipeWireKey::forcedRate) == rate; });
}

void RealServer::setSetting(const std::string& key, const std::string& value) {
    {
        const SoundLab::Lock lock(*lab);
        lab->graph().settingsMetadata()->set(key, "", value);
    }
    ASSERT_TRUE(lab->waitUntil([&] { return lab->settingsMetadata(key) == value; }));
}

void RealServer::setDefaultMetadata(const std::string& key, const std::string& value) {
    {
        const SoundLab::Lock lock(*lab);
        lab->graph().defaultMetadata()->set(key, "Spa:String:JSON", value);
    }
    const auto isSet = [&] { return lab->defaultMetadata(key) == value; };
    if (lab->waitUntil(isSet, std::chrono::milliseconds(500))) return;
    refreshLab();
    ASSERT_TRUE(lab->waitUntil(isSet));
}

std::unique_ptr<ChildProcess> RealServer::play(const std::string& role) {
    const std::filesystem::path file = server.folder() / "noise.wav";
    if (!std::filesystem::exists(file)) writeNoise(file);
    return std::make_unique<ChildProcess>(
        std::vector<std::string>{"pw-cat", "--playback", "--media-role", role, file},
        ChildProcess::Options{server.environment(), server.folder() / "player.log", false});
}

bool RealServer::isPlayedTo(const std::string& name) {
    const SoundLab::Lock lock(*lab);
    const auto devices = lab->graph().devices();
    return std::ranges::any_of(lab->graph().links(), [&](const auto& entry) {
        const PipeWireNode* output = lab->graph().device(name);
        return output && entry.second.inputNode == output->globalID() &&
               std::ranges::find(devices, entry.second.outputNode, &PipeWireNode::globalID) == devices.end();
    });
}

} // namespace velto
