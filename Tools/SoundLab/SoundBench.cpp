#include "Tools/SoundLab/SoundBench.h"

#include "Tools/SoundLab/ProcessFigures.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velto {

namespace fs = std::filesystem;

namespace {

fs::path program() { return fs::canonical("/proc/self/exe").parent_path().parent_path() / "Velto/velto"; }

} // namespace

SoundBench::SoundBench(const fs::path& playedFile, int deskDriverPriority)
    : lab_(server_.socket()), deskOutput_(VirtualOutput::builtIn(desk, "Desk Speakers")) {
    if (deskDriverPriority > 0)
        deskOutput_.properties["priority.driver"] = std::to_string(deskDriverPriority);
    lab_.plug(deskOutput_);
    lab_.plug(VirtualOutput::usb(usb, "USB DAC"));
    if (!lab_.waitForDefault(desk))
        throw std::runtime_error("The private sound server chose no default output");
    if (!playedFile.empty())
        player_.emplace(std::vector<std::string>{"pw-play", playedFile.string()},
                        ChildProcess::Options{server_.environment(), "", false});
    launchVelto();
}

void SoundBench::launchVelto() {
    velto_.emplace(program(), server_.environment(), server_.folder() / "velto.log");
}

std::unique_ptr<ChildProcess> SoundBench::beginAligning() {
    auto client = std::make_unique<ChildProcess>(
        std::vector<std::string>{program().string(), "align", "--json"},
        ChildProcess::Options{server_.environment(), server_.folder() / "align.log", true});
    for (auto line = client->readLine(std::chrono::seconds(5)); line;
         line = client->readLine(std::chrono::seconds(5)))
        if (line->contains("\"measuring\"")) return client;
    throw std::runtime_error("The outputs are not measured");
}

double SoundBench::timed(const RunningVelto::Words& command) {
    const RunningVelto::Answer answer = velto_->command(command);
    if (answer.exitStatus != 0) throw std::runtime_error(command.front() + ": " + answer.error);
    return answer.milliseconds;
}

double SoundBench::play(const std::string& first, const std::string& second) {
    return timed({"play", first, second});
}

double SoundBench::stop() { return timed({"stop"}); }

void SoundBench::delay(const std::string& output, const std::string& milliseconds) {
    timed({"delay", milliseconds, output});
}

void SoundBench::delayUSB(const std::string& milliseconds) {
    delay(usb, milliseconds);
    const auto isDelayed = [this] {
        const PipeWireGraph& graph = lab_.graph();
        const PipeWireNode* output = graph.device(usb);
        return std::ranges::any_of(graph.links(), [&](const auto& entry) {
            return output && entry.second.isOurs && entry.second.inputNode == output->globalID() &&
                   graph.delayNodeName(entry.second.outputNode);
        });
    };
    if (!lab_.waitUntil(isDelayed)) throw std::runtime_error("The output is not delayed");
}

void SoundBench::undelay() {
    for (const char* output : {desk, usb})
        delay(output, "0");
}

std::optional<pid_t> SoundBench::runningHelper() { return childOf(velto_->process().id(), "velto-delay"); }

pid_t SoundBench::helper() {
    const auto process = runningHelper();
    if (!process) throw std::runtime_error("Nothing delays");
    return *process;
}

void SoundBench::commandDefault(const std::string& output) {
    ChildProcess tool({"pw-metadata", "0", "default.configured.audio.sink",
                       "{ \"name\": \"" + output + "\" }", "Spa:String:JSON"},
                      {server_.environment(), "", false});
    if (tool.wait(std::chrono::seconds(5)) != 0 || !lab_.waitForDefault(output))
        throw std::runtime_error("The output " + output + " did not become the default");
}

bool SoundBench::playsOn(const std::string& output) {
    const std::string aggregate(AggregateDeviceManager::aggregateUID);
    return lab_.waitUntil([&] { return lab_.linkCount(aggregate, output) > 0; });
}

double SoundBench::cpuSeconds() {
    const auto helper = runningHelper();
    return cpuSecondsOf(server_.daemonID()) + cpuSecondsOf(velto_->process().id()) +
           (helper ? cpuSecondsOf(*helper) : 0);
}

} // namespace velto
