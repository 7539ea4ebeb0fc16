#include "Velto/Shell/SessionNotifications.h"

#include <utility>

namespace velto {

namespace {

using Kind = SessionEvent::Kind;
using Answer = MenuBarViewModel::DisconnectAnswer;

constexpr std::string_view keepPlaying = "keep";
constexpr std::string_view stopPlaying = "stop";
constexpr const char* stopped = "Velto stopped playing together.";

std::vector<Notification::Answer> disconnectAnswers() {
    std::vector<Notification::Answer> answers;
    for (const auto& [key, answer] :
         {std::pair(keepPlaying, Answer::keepPlaying), std::pair(stopPlaying, Answer::stopPlaying)})
        answers.push_back({std::string(key), std::string(MenuBarViewModel::title(answer))});
    return answers;
}

} // namespace

SessionNotifications::SessionNotifications(DualOutputCoordinator& coordinator, MenuBarViewModel& menuBar,
                                           PreferencesManager& preferences, NotificationService& service)
    : coordinator_(coordinator), menuBar_(menuBar), preferences_(preferences), service_(service),
      coordinatorSubscription_(coordinator.observe([this] { withdrawIfOver(); })),
      switchSubscription_(preferences.showNotifications.observe([this] { withdrawIfOver(); })) {
    coordinator_.setEventHandler([this](const SessionEvent& event) { happened(event); });
}

SessionNotifications::~SessionNotifications() { coordinator_.setEventHandler({}); }

void SessionNotifications::setIsPanelOpen(bool isOpen) {
    isPanelOpen_ = isOpen;
    withdrawIfOver();
}

Notification SessionNotifications::notification(const SessionEvent& ofEvent) {
    switch (ofEvent.kind) {
    case Kind::outputLost:
        return {ofEvent.name + " disconnected", "Velto plays on the remaining output."};
    case Kind::questionAsked:
        return {ofEvent.name + " disconnected", std::string(MenuBarViewModel::disconnectQuestionText),
                disconnectAnswers()};
    case Kind::endedByLostOutput:
        return {ofEvent.name + " disconnected", stopped};
    case Kind::endedWithoutOutputs:
        return {"Both outputs disconnected", stopped};
    case Kind::endedByChoice:
        return {"Sound goes to " + ofEvent.name,
                "It was chosen as the output, so Velto stopped playing together."};
    case Kind::presetStarted:
        return {"Playing " + ofEvent.name, "Auto Connect started this setup: its outputs are connected."};
    case Kind::recovered:
        return {"Sound output put back",
                "Velto was ended in the middle of a session, and has cleaned up after it."};
    }
    return {};
}

void SessionNotifications::happened(const SessionEvent& event) {
    if (isPanelOpen_ || !preferences_.showNotifications()) return;
    shown_ = event.kind;
    show(notification(event));
}

void SessionNotifications::tellMissingWindows(const std::string& reason) {
    shown_.reset(); // it stands, whatever happens
    show({"Velto can't open its windows", reason});
}

void SessionNotifications::show(Notification notification) {
    service_.show(std::move(notification), [this](std::string_view key) { answered(key); });
}

void SessionNotifications::answered(std::string_view key) {
    shown_.reset();
    if (key == Notification::opened && open_) open_();
    if (!menuBar_.disconnectQuestion()) return;
    if (key == keepPlaying) menuBar_.answerDisconnect(Answer::keepPlaying);
    if (key == stopPlaying) menuBar_.answerDisconnect(Answer::stopPlaying);
}

bool SessionNotifications::isStillSo() const {
    if (isPanelOpen_ || !preferences_.showNotifications()) return false;
    switch (*shown_) {
    case Kind::outputLost:
        return coordinator_.state().is<AudioSessionState::Degraded>();
    case Kind::questionAsked:
        return coordinator_.pendingDisconnectDecision().has_value();
    case Kind::presetStarted:
        return coordinator_.state().isActive();
    case Kind::endedByLostOutput:
    case Kind::endedWithoutOutputs:
    case Kind::endedByChoice:
    case Kind::recovered:
        return !coordinator_.state().is<AudioSessionState::Starting>();
    }
    return true;
}

void SessionNotifications::withdrawIfOver() {
    if (!shown_ || isStillSo()) return;
    shown_.reset();
    service_.withdraw();
}

} // namespace velto
