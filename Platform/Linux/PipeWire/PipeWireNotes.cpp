#include "Platform/Linux/PipeWire/PipeWireNotes.h"

#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "Platform/Linux/PipeWire/PipeWireText.h"

namespace velto {

namespace {

constexpr const char* allNotes[] = {PipeWireKey::previousConfiguredSink, PipeWireKey::previousAlertSink,
                                    PipeWireKey::previousForcedRate};

} // namespace

std::optional<std::string> PipeWireNotes::noted(const char* key) const {
    const PipeWireMetadata* settings = graph_.settingsMetadata();
    return settings ? settings->value(key).transform(PipeWireText::fromServer) : std::nullopt;
}

std::optional<std::string> PipeWireNotes::configuredOutput() const {
    return noted(PipeWireKey::previousConfiguredSink);
}

void PipeWireNotes::noteOutputs(const std::string& aggregateName) {
    PipeWireMetadata* settings = graph_.settingsMetadata();
    const PipeWireMetadata* outputs = graph_.defaultMetadata();
    if (!settings || !outputs || noted(PipeWireKey::previousConfiguredSink)) return;
    const auto configured = outputs->name(PipeWireKey::configuredSink);
    if (configured != aggregateName) lastConfigured_ = configured.value_or("");
    settings->set(PipeWireKey::previousConfiguredSink, "", PipeWireText::toServer(lastConfigured_));
    const std::string alert = outputs->name(PipeWireKey::alertSink).value_or("");
    settings->set(PipeWireKey::previousAlertSink, "",
                  alert == aggregateName ? "" : PipeWireText::toServer(alert));
}

void PipeWireNotes::noteSampleRate() {
    PipeWireMetadata* settings = graph_.settingsMetadata();
    if (!settings || noted(PipeWireKey::previousForcedRate)) return;
    settings->set(PipeWireKey::previousForcedRate, "",
                  settings->value(PipeWireKey::forcedRate).value_or("0"));
}

void PipeWireNotes::beginRestoring(const std::string& aggregateName) {
    aggregateName_ = aggregateName;
    isRestoring_ = true;
    sent_.clear();
}

void PipeWireNotes::continueRestoring(bool areOutputsTold) {
    PipeWireMetadata* settings = isRestoring_ ? graph_.settingsMetadata() : nullptr;
    if (!settings || !settings->isComplete()) return;
    bool isAnyLeft = isChosenWithoutNote(aggregateName_);
    if (isAnyLeft) sendNameOnce(PipeWireKey::configuredSink, lastConfigured_);
    for (const char* key : allNotes) {
        if (!noted(key)) continue;
        isAnyLeft = true;
        if (isRestored(key, areOutputsTold)) sendOnce(key, "gone", [&] { settings->remove(key); });
    }
    isRestoring_ = isAnyLeft;
}

bool PipeWireNotes::isRestored(const std::string& key, bool areOutputsTold) {
    if (key == PipeWireKey::previousForcedRate) return isSampleRateRestored();
    if (!areOutputsTold) return false; // what it is about to tell would be taken for somebody's choice
    return key == PipeWireKey::previousAlertSink ? isAlertOutputRestored() : isConfiguredOutputRestored();
}

bool PipeWireNotes::isChosenWithoutNote(const std::string& aggregateName) const {
    const PipeWireMetadata* outputs = graph_.defaultMetadata();
    const bool isForeign = graph_.device(aggregateName); // somebody else's, which may well be chosen
    return outputs && !isForeign && !configuredOutput() &&
           outputs->name(PipeWireKey::configuredSink) == aggregateName;
}

bool PipeWireNotes::isConfiguredOutputRestored() {
    PipeWireMetadata* outputs = graph_.defaultMetadata();
    if (!outputs || !outputs->isComplete()) return false; // no session manager: later
    // A choice that somebody else has made since then stays; what this program sent last may be on its way.
    if (outputs->nameToCome(PipeWireKey::configuredSink) != aggregateName_)
        return !outputs->isPending(PipeWireKey::configuredSink);
    const std::string previous = *noted(PipeWireKey::previousConfiguredSink);
    sendNameOnce(PipeWireKey::configuredSink, previous);
    return false;
}

bool PipeWireNotes::isAlertOutputRestored() {
    PipeWireMetadata* outputs = graph_.defaultMetadata();
    if (!outputs || !outputs->isComplete()) return false;
    // Only Velto sets it, so nobody else's choice can be in the way.
    const std::string previous = *noted(PipeWireKey::previousAlertSink);
    if (outputs->nameToCome(PipeWireKey::alertSink).value_or("") == previous)
        return !outputs->isPending(PipeWireKey::alertSink);
    sendNameOnce(PipeWireKey::alertSink, previous);
    return false;
}

bool PipeWireNotes::isSampleRateRestored() {
    PipeWireMetadata* settings = graph_.settingsMetadata();
    const std::string previous = *noted(PipeWireKey::previousForcedRate);
    if (settings->value(PipeWireKey::forcedRate).value_or("0") == previous) return true;
    sendOnce(PipeWireKey::forcedRate, previous,
             [&] { settings->set(PipeWireKey::forcedRate, "", previous); });
    return false;
}

void PipeWireNotes::sendNameOnce(const char* key, const std::string& name) {
    sendOnce(key, name, [&] {
        PipeWireMetadata& outputs = *graph_.defaultMetadata();
        name.empty() ? outputs.remove(key) : outputs.setName(key, name);
    });
}

void PipeWireNotes::sendOnce(const char* key, const std::string& what, const std::function<void()>& send) {
    if (sent_.insert(key + ("=" + what)).second) send();
}

void PipeWireNotes::forget() {
    isRestoring_ = false;
    sent_.clear();
}

} // namespace velto
