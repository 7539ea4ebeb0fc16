// PipeWireNotes: what stood before an aggregate (configured output, alert output, forced rate), noted in the
// server's own "settings" metadata, and how it is put back.
//
// The order that loses nothing, wherever the program dies: a note is made before what it is about is changed;
// a sink is made after the notes; and only when the sink is gone, and what a note tells is seen to stand
// again, the note goes. So notes with an aggregate are a session, and notes without one are work that is
// left. Whoever sees that does it: the run that removed the aggregate, the run that saw somebody else remove
// it, the next one. What somebody else has chosen since then stays.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireGraph.h"

#include <functional>
#include <optional>
#include <set>
#include <string>

namespace velto {

class PipeWireNotes {
  public:
    explicit PipeWireNotes(PipeWireGraph& graph) : graph_(graph) {}

    /// Notes the outputs as they are configured now, unless they are noted already.
    void noteOutputs(const std::string& aggregateName);
    void noteSampleRate();
    /// The configured output that is noted: empty when nothing was configured, none without a note.
    std::optional<std::string> configuredOutput() const;

    /// Whether an aggregate that isn't there is configured, and no note tells what was before: the session
    /// manager has stored it, and brings it back when it starts with a server that knows nothing.
    bool isChosenWithoutNote(const std::string& aggregateName) const;
    /// From now on puts back all that is noted, and for a choice without a note what this run noted last. For
    /// when no aggregate is there, or none any more.
    void beginRestoring(const std::string& aggregateName);
    /// Takes the next steps of it that can be taken now; those of outputs once the session manager has told
    /// all that it had stored. Called on every change, also from within server callbacks: it sends, and never
    /// waits.
    void continueRestoring(bool areOutputsTold);
    /// Until all is seen to stand again.
    bool isRestoring() const noexcept { return isRestoring_; }
    /// The server is gone, and its stores with it.
    void forget();

  private:
    /// Whether what that note tells stands again.
    bool isRestored(const std::string& key, bool areOutputsTold);
    bool isConfiguredOutputRestored();
    bool isAlertOutputRestored();
    bool isSampleRateRestored();
    /// The note; none where there is none.
    std::optional<std::string> noted(const char* key) const;
    /// Sends the change of what is under the key, unless that very change was sent already.
    void sendOnce(const char* key, const std::string& what, const std::function<void()>& send);
    /// Stores the name of an output under the key, or nothing where it is empty.
    void sendNameOnce(const char* key, const std::string& name);

    PipeWireGraph& graph_;
    std::string aggregateName_;
    /// The configured output as it was last noted; outlives the server.
    std::string lastConfigured_;
    bool isRestoring_ = false;
    /// What was asked of the stores since restoring began: their mirror follows later.
    std::set<std::string> sent_;
};

} // namespace velto
