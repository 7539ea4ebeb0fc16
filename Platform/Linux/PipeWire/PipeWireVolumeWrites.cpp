#include "Platform/Linux/PipeWire/PipeWireVolumeWrites.h"

#include "Platform/Linux/PipeWire/PipeWireDeviceProperties.h"

#include <chrono>
#include <cmath>
#include <utility>
#include <vector>

namespace velto {

namespace {

constexpr std::chrono::milliseconds changeGrace{200};
/// The server's cubic volumes don't come back to the last bit.
constexpr float tolerance = 0.0005F;

bool isEqual(std::optional<float> a, std::optional<float> b) {
    return a && b ? std::fabs(*a - *b) < tolerance : a == b;
}

} // namespace

PipeWireVolumeWrites::PipeWireVolumeWrites(MainActor& actor, PipeWireConnection& connection,
                                           PipeWireGraph& graph, std::function<void(Control)> refused)
    : actor_(actor), connection_(connection), graph_(graph), refused_(std::move(refused)) {}

std::optional<float> PipeWireVolumeWrites::asked(Control control) const {
    const auto found = writes_.find(control);
    return found == writes_.end() ? std::nullopt : std::optional(found->second.asked);
}

std::optional<float> PipeWireVolumeWrites::current(Control control) const {
    const PipeWireNode* node = graph_.device(control.device);
    if (!node) return std::nullopt;
    if (control.kind == Kind::volume) return PipeWireDeviceProperties::scalarVolume(*node);
    const auto isMuted = node->isMuted();
    return isMuted ? std::optional(*isMuted ? 1.0F : 0.0F) : std::nullopt;
}

void PipeWireVolumeWrites::write(Control control, float value) {
    Write& write = writes_[control];
    write.asked = value;
    if (write.grace) actor_.cancelTimer(*std::exchange(write.grace, std::nullopt));
    if (write.isOnItsWay) return;
    send(control, write);
    connection_.flush();
}

void PipeWireVolumeWrites::send(Control control, Write& write) {
    PipeWireNode* node = graph_.device(control.device);
    if (!node) return settle(control);
    write.sent = write.asked;
    write.before = current(control);
    write.isOnItsWay = true;
    if (control.kind == Kind::volume) {
        PipeWireDeviceProperties::setScalarVolume(graph_, *node, write.asked);
    } else {
        PipeWireDeviceProperties::setMute(graph_, *node, write.asked != 0);
    }
    connection_.whenAnswered([this, control] { answered(control); });
}

void PipeWireVolumeWrites::answered(Control control) {
    const auto found = writes_.find(control);
    if (found == writes_.end()) return;
    Write& write = found->second;
    write.isOnItsWay = false;
    if (write.asked != write.sent) return send(control, write);
    if (isEqual(current(control), write.asked)) return settle(control);
    write.grace = actor_.postAfter(changeGrace, [this, control] {
        writes_.at(control).grace.reset();
        settle(control);
        refused_(control);
    });
}

void PipeWireVolumeWrites::follow() {
    std::vector<Control> heard;
    for (const auto& [control, write] : writes_)
        if (write.grace && !isEqual(current(control), write.before)) heard.push_back(control);
    for (const Control control : heard)
        settle(control);
}

void PipeWireVolumeWrites::settle(Control control) {
    const auto found = writes_.find(control);
    if (found == writes_.end()) return;
    if (found->second.grace) actor_.cancelTimer(*found->second.grace);
    writes_.erase(found);
}

void PipeWireVolumeWrites::forget() {
    for (const auto& entry : writes_)
        if (entry.second.grace) actor_.cancelTimer(*entry.second.grace);
    writes_.clear();
}

} // namespace velto
