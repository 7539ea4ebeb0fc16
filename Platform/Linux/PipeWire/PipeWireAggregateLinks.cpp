#include "Platform/Linux/PipeWire/PipeWireAggregateLinks.h"

#include "Platform/Linux/Delay/DelayNames.h"
#include "Platform/Linux/PipeWire/PipeWireAggregates.h"
#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "Platform/Linux/PipeWire/PipeWireText.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>

namespace velto {

namespace {

/// Strays after which nothing is linked any more: the server confuses an output with another object.
constexpr int mostStrays = 8;

using Ports = std::vector<const PipeWirePort*>;

Ports audioPorts(const PipeWireGraph& graph, const PipeWireNode& node,
                 bool (*isWanted)(const PipeWirePort&)) {
    Ports result = graph.ports(node.globalID());
    std::erase_if(result, [&](const PipeWirePort* port) { return !port->isAudio() || !isWanted(*port); });
    return result;
}

Ports monitorsOf(const PipeWireGraph& graph, const PipeWireNode& aggregate) {
    return audioPorts(graph, aggregate, [](const PipeWirePort& port) { return port.isMonitor(); });
}

/// Which of these stereo ports feeds which port of the output. The ports of either appear one by one.
std::vector<std::pair<const PipeWirePort*, const PipeWirePort*>>
matched(const PipeWireGraph& graph, const Ports& sources, const PipeWireNode& output) {
    std::vector<std::pair<const PipeWirePort*, const PipeWirePort*>> result;
    const Ports inputs = audioPorts(graph, output, [](const PipeWirePort& port) { return port.isInput(); });
    if (sources.size() < std::size(DelayNames::channels)) return result;
    // What each port is for must be told from itself, not from how many there are.
    for (std::size_t place = 0; place < sources.size(); ++place) {
        for (const PipeWirePort* input : inputs) {
            const std::string& channel = input->channel();
            const bool isUnnamed = channel.empty() || channel.starts_with("AUX");
            // A mono output gets the sum; an interface without named channels its first two.
            if (channel == sources[place]->channel() || channel == "MONO" ||
                (isUnnamed && input->index() == place))
                result.emplace_back(sources[place], input);
        }
    }
    // Nothing fits: the sum for one port, else the first two, once all of them are there.
    const bool isWhole = output.offeredChannels() > 0 && inputs.size() >= output.offeredChannels();
    if (isWhole && (result.empty() || inputs.size() == 1)) {
        result.clear();
        for (std::size_t i = 0; i < sources.size(); ++i)
            result.emplace_back(sources[i], inputs[std::min(i, inputs.size() - 1)]);
    }
    return result;
}

pw_properties* linkProperties(const std::string& fromNode, const std::string& fromPort,
                              const std::string& toNode, const std::string& toPort) {
    pw_properties* properties = pw_properties_new(PW_KEY_OBJECT_LINGER, "true", PW_KEY_LINK_PASSIVE, "true",
                                                  PW_KEY_OBJECT_PATH, PipeWireKey::link, nullptr);
    for (const auto& [key, name] :
         {std::pair(PW_KEY_LINK_OUTPUT_NODE, &fromNode), std::pair(PW_KEY_LINK_OUTPUT_PORT, &fromPort),
          std::pair(PW_KEY_LINK_INPUT_NODE, &toNode), std::pair(PW_KEY_LINK_INPUT_PORT, &toPort)})
        pw_properties_set(properties, key, PipeWireText::toServer(*name).c_str());
    return properties;
}

} // namespace

std::vector<PipeWireAggregateLinks::Pair>
PipeWireAggregateLinks::directPairs(const PipeWireNode& aggregate, const PipeWireNode& output) const {
    std::vector<Pair> result;
    for (const auto& [from, to] : matched(graph_, monitorsOf(graph_, aggregate), output))
        result.push_back({{aggregate.name(), from}, {output.name(), to}});
    return result;
}

std::vector<PipeWireAggregateLinks::Pair>
PipeWireAggregateLinks::delayedPairs(const PipeWireNode& aggregate, const PipeWireNode& output) const {
    const auto place = delays_.place(aggregate.name(), output.name());
    if (!place) return {};
    const std::string node = DelayNames::node(aggregate.name());
    const Ports ports = graph_.ports(place->node);
    const auto portNamed = [&](const std::string& name) -> const PipeWirePort* {
        const auto found = std::ranges::find(ports, name, &PipeWirePort::name);
        return found == ports.end() ? nullptr : *found;
    };
    std::vector<Pair> result;
    Ports sources;
    for (const PipeWirePort* monitor : monitorsOf(graph_, aggregate)) {
        const PipeWirePort* const in = portNamed(DelayNames::input(monitor->channel()));
        const PipeWirePort* const out = portNamed(DelayNames::output(place->index, monitor->channel()));
        if (!in || !out) return {};
        result.push_back({{aggregate.name(), monitor}, {node, in}});
        sources.push_back(out);
    }
    const auto played = matched(graph_, sources, output);
    if (played.empty()) return {};
    for (const auto& [from, to] : played)
        result.push_back({{node, from}, {output.name(), to}});
    return result;
}

bool PipeWireAggregateLinks::isLinked(const PipeWirePort& from, const PipeWirePort& to) const {
    return std::ranges::any_of(graph_.links(), [&](const auto& entry) {
        return entry.second.outputPort == from.globalID() && entry.second.inputPort == to.globalID();
    });
}

bool PipeWireAggregateLinks::areLinked(const std::vector<Pair>& pairs) const {
    return !pairs.empty() && std::ranges::all_of(pairs, [&](const Pair& pair) {
        return isLinked(*pair.first.port, *pair.second.port);
    });
}

bool PipeWireAggregateLinks::isLinked(const PipeWireNode& aggregate, const PipeWireNode& output) const {
    return areLinked(directPairs(aggregate, output)) || areLinked(delayedPairs(aggregate, output));
}

void PipeWireAggregateLinks::link(const PipeWireNode& aggregate, const PipeWireNode& output) {
    if (strayCount_ >= mostStrays) return;
    const std::vector<Pair> delayed = delayedPairs(aggregate, output);
    // Asked for together, so that hardly anything is heard twice or not at all between the one and the other.
    if (!delayed.empty()) {
        request(delayed);
        unlink(aggregate.globalID(), output);
        return;
    }
    request(directPairs(aggregate, output));
    const auto delayNode = graph_.delayNode(DelayNames::node(aggregate.name()));
    if (delayNode && !delays_.place(aggregate.name(), output.name())) unlink(*delayNode, output);
}

void PipeWireAggregateLinks::request(const std::vector<Pair>& pairs) {
    for (const auto& [from, to] : pairs) {
        const auto key = std::pair(from.port->globalID(), to.port->globalID());
        if (isLinked(*from.port, *to.port) || requests_.contains(key)) continue;
        requests_.emplace(key,
                          std::make_unique<PipeWireRequest>(
                              connection_.core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK,
                              linkProperties(from.node, from.port->alias(), to.node, to.port->alias()),
                              [this] { noteRefusal(); }));
    }
}

void PipeWireAggregateLinks::unlink(uint32_t source, const PipeWireNode& output) {
    for (const auto& [globalID, link] : graph_.links()) {
        if (!link.isOurs || link.outputNode != source || link.inputNode != output.globalID()) continue;
        if (ended_.insert(globalID).second) pw_registry_destroy(connection_.registry(), globalID);
    }
}

void PipeWireAggregateLinks::follow() {
    std::erase_if(judged_, [&](uint32_t link) { return !graph_.links().contains(link); });
    std::erase_if(ended_, [&](uint32_t link) { return !graph_.links().contains(link); });
    removeStrays();
    sweepRequests();
}

const PipeWireNode* PipeWireAggregateLinks::aggregateBehind(uint32_t node) const {
    if (const std::string* delayNode = graph_.delayNodeName(node)) {
        const auto devices = graph_.devices();
        const auto found = std::ranges::find_if(devices, [&](const PipeWireNode* device) {
            return DelayNames::node(device->name()) == *delayNode;
        });
        return found == devices.end() ? nullptr : *found;
    }
    const PipeWireNode* const device = graph_.deviceBehind(node);
    return device && PipeWireAggregates::isAggregate(*device) ? device : nullptr;
}

bool PipeWireAggregateLinks::isAstray(const PipeWireLink& link, const PipeWireNode& aggregate) const {
    if (const std::string* delayNode = graph_.delayNodeName(link.inputNode))
        return *delayNode != DelayNames::node(aggregate.name());
    const PipeWireNode* const input = graph_.deviceBehind(link.inputNode);
    const auto composition = PipeWireAggregates::description(aggregate);
    return !input || !composition || std::ranges::none_of(composition->subDevices, [&](const auto& output) {
        return output.uid == input->name();
    });
}

void PipeWireAggregateLinks::removeStrays() {
    for (const auto& [globalID, link] : graph_.links()) {
        if (!link.isOurs || judged_.contains(globalID)) continue;
        const PipeWireNode* const aggregate = aggregateBehind(link.outputNode);
        if (!aggregate) continue;
        judged_.insert(globalID);
        if (!isAstray(link, *aggregate)) continue;
        const PipeWireNode* const input = graph_.deviceBehind(link.inputNode);
        LoggingService::audioDevices.error("Removing a link to {}, which is not an output of the aggregate",
                                           publicText(input ? input->name() : "an unknown object"));
        pw_registry_destroy(connection_.registry(), globalID);
        if (++strayCount_ == mostStrays)
            LoggingService::audioDevices.error("Outputs can't be told apart; no more is linked");
    }
}

/// Whether its ports are still there is known when all is heard that the server had to say by then.
void PipeWireAggregateLinks::noteRefusal() {
    connection_.whenAnswered(lifetime_.whileAlive([this] { sweepRequests(); }));
}

void PipeWireAggregateLinks::sweepRequests() {
    bool isAnyRefused = false;
    std::erase_if(requests_, [&](const auto& entry) {
        const auto& ports = entry.first;
        const auto& request = entry.second;
        // An output that goes takes its links first, and is asked for them again before it is seen to be
        // gone.
        const bool areThere = graph_.hasPort(ports.first) && graph_.hasPort(ports.second);
        if (!request->refusal().empty() && areThere) {
            LoggingService::audioDevices.error("The sound server refused a link: {}", request->refusal());
            isAnyRefused = true;
        }
        return request->isOver() || std::ranges::any_of(graph_.links(), [&](const auto& link) {
                   return link.second.outputPort == ports.first && link.second.inputPort == ports.second;
               });
    });
    if (isAnyRefused) refused_();
}

void PipeWireAggregateLinks::forget() {
    judged_.clear();
    ended_.clear();
    requests_.clear();
}

} // namespace velto
