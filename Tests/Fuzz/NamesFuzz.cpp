#include "Tests/Fuzz/FuzzTarget.h"
#include "Tests/Fuzz/FuzzedComputer.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstring>

namespace velto {

namespace {

std::string takeLine(std::string_view& text) {
    const std::string line(text.substr(0, text.find('\n')));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

/// What is no UTF-8 is not. No client of a platform tells such a text; whoever does is to do no other harm.
bool isStoredWhole(const SimulatedDevice& output) {
    RecoveryState record;
    record.firstDeviceUID = output.uid;
    record.secondDeviceUID = output.name;
    return decodeRecoveryState(encodeRecoveryState(record).value()) == record;
}

void ask(FuzzedComputer& computer, std::string command, std::vector<std::string> arguments = {}) {
    computer.say(CommandRequest{std::move(command), std::move(arguments)}.line());
}

} // namespace

/// An output that says of itself what it likes; sound and alerts go to it.
void fuzz(std::string_view text) {
    FuzzedComputer computer;
    SimulatedDevice output{.uid = takeLine(text), .name = takeLine(text)};
    output.manufacturer = takeLine(text);
    const std::string presetName = takeLine(text);
    float volume = 0.5F;
    if (text.size() >= sizeof volume) std::memcpy(&volume, text.data(), sizeof volume);
    output.volume = volume;
    output.isMuted = volume < 0;
    const std::string uid = output.uid;
    if (uid.empty() || uid == AggregateDeviceManager::aggregateUID) return;
    for (const std::string& other : computer.machine.world.pluggedUIDs())
        if (uid == other) return;
    computer.machine.world.plug(output);
    computer.machine.world.pickDefault(uid);
    computer.machine.world.pickAlertOutput(uid);
    computer.context = {.defaultOutputs = {uid}, .alertOutputs = {uid}};
    computer.launch();

    ask(computer, "outputs");
    ask(computer, "status");
    if (!isStoredWhole(output)) return;
    computer.application->play(uid, "builtin");
    require(computer.application->isPlaying());
    computer.requireQuiet();
    ask(computer, "volume", {"40%", output.name});
    ask(computer, "mute", {"toggle", uid});
    ask(computer, "status");
    ask(computer, "presets save", {presetName});
    computer.machine.unplug(uid);
    ask(computer, "watch");
    computer.machine.replug(uid);
    require(computer.application->isPlaying());
    computer.crash();
    computer.launch();
    computer.requireQuiet();
    ask(computer, "presets");
    ask(computer, "play", {presetName});
}

} // namespace velto
