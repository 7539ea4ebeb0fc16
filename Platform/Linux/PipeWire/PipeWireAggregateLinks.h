// PipeWireAggregateLinks: what is linked to what, so that an aggregate plays on its outputs.
//
// An output is linked to the aggregate's monitor, or, from the moment in which it is first to be delayed, to
// its own ports of the node that delays, which is linked to the monitor. While that node is away the output
// plays directly: sound comes before delay.
//
// No sound on a stranger: the server uses the IDs of what has gone at once for what comes, and this mirror is
// always a little behind. So links are asked for by names, which the server looks up when it makes them. Each
// carries a mark, and a marked link from an aggregate, or from what delays it, to anything but one of its
// outputs is destroyed as soon as it is seen. Links that others make are never touched.
//
// What is destroyed is named by its ID, and that may be another object's by then, which is not hit: with
// each message a client says how much of the registry it has heard of, and the server refuses (-ESTALE) to
// destroy what came later. It does so since 0.3.48. By a proxy a link that lingers can't be destroyed.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireDelays.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "Platform/Linux/PipeWire/PipeWireRequest.h"
#include "VeltoCore/Observation/Lifetime.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace velto {

class PipeWireAggregateLinks {
  public:
    /// `refused` is called, perhaps from within a server callback, when the server did not make a link whose
    /// ports are there: it is for its owner to ask again, later.
    PipeWireAggregateLinks(PipeWireConnection& connection, PipeWireGraph& graph, const PipeWireDelays& delays,
                           std::function<void()> refused)
        : connection_(connection), graph_(graph), delays_(delays), refused_(std::move(refused)) {}
    PipeWireAggregateLinks(const PipeWireAggregateLinks&) = delete;
    PipeWireAggregateLinks& operator=(const PipeWireAggregateLinks&) = delete;

    /// Whether the output plays what the aggregate plays, delayed or not.
    bool isLinked(const PipeWireNode& aggregate, const PipeWireNode& output) const;
    /// Asks for the links that are missing between them, and ends those by which the output would be heard
    /// twice. Cheap when all is as it should be.
    void link(const PipeWireNode& aggregate, const PipeWireNode& output);
    /// Destroys links that are astray, and looks after what was asked for.
    void follow();
    /// A new aggregate is made: what went astray before does not count.
    void begin() noexcept { strayCount_ = 0; }
    /// The server is gone, and all its objects with it.
    void forget();

  private:
    /// A port of a node that the server finds by name.
    struct End {
        std::string node;
        const PipeWirePort* port;
    };
    using Pair = std::pair<End, End>;

    std::vector<Pair> directPairs(const PipeWireNode& aggregate, const PipeWireNode& output) const;
    /// Empty unless the output is to play through what delays, and that is there.
    std::vector<Pair> delayedPairs(const PipeWireNode& aggregate, const PipeWireNode& output) const;
    bool isLinked(const PipeWirePort& from, const PipeWirePort& to) const;
    bool areLinked(const std::vector<Pair>& pairs) const;
    void request(const std::vector<Pair>& pairs);
    /// Ends our links from that node to the output.
    void unlink(uint32_t source, const PipeWireNode& output);
    void removeStrays();
    /// The aggregate whose sound that node sends out: itself, or what delays it.
    const PipeWireNode* aggregateBehind(uint32_t node) const;
    bool isAstray(const PipeWireLink& link, const PipeWireNode& aggregate) const;
    void noteRefusal();
    void sweepRequests();

    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    const PipeWireDelays& delays_;
    std::function<void()> refused_;
    /// Links that were found to be right, or were asked to be destroyed, by global ID. What a link joins
    /// never changes, and to look each one up at every change would hold up an output that has come back.
    std::set<uint32_t> judged_;
    /// Those that were asked to be destroyed because their output plays another way now.
    std::set<uint32_t> ended_;
    int strayCount_ = 0;
    /// Links asked for and not yet seen in the registry, by their ports.
    std::map<std::pair<uint32_t, uint32_t>, std::unique_ptr<PipeWireRequest>> requests_;
    Lifetime lifetime_;
};

} // namespace velto
