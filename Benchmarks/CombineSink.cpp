#include "Benchmarks/CombineSink.h"

#include "Tools/SoundLab/OwnedFolder.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace velto {

CombineSink::CombineSink(std::map<std::string, std::string> environment, Outputs outputs)
    : environment_(std::move(environment)), outputs_(std::move(outputs)) {}

void CombineSink::start() {
    command("pactl load-module module-combine-sink sink_name=both slaves=" + outputs_.first + "," +
            outputs_.second + " && pactl set-default-sink both");
}

void CombineSink::stop() {
    command("pactl set-default-sink " + outputs_.before + " && pactl unload-module module-combine-sink");
}

void CombineSink::command(const std::string& words) {
    const OwnedFolder folder("velto-pactl");
    const auto log = folder.path() / "log";
    ChildProcess shell({"sh", "-c", words}, {environment_, log, false});
    const auto status = shell.wait(std::chrono::seconds(10));
    if (!status) throw std::runtime_error("pactl does not end");
    if (*status != 0) throw std::runtime_error("pactl: " + lastLineOf(log));
}

} // namespace velto
