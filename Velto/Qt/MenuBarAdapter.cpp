#include "Velto/Qt/MenuBarAdapter.h"

#include "Velto/Shell/StatusTone.h"

#include <cmath>
#include <vector>

namespace velto {

namespace {

using PrimaryAction = MenuBarViewModel::PrimaryAction;

QString percent(float volume) { return QString::number(std::lround(volume * 100)) + u'%'; }

std::string keyOfRow(const OutputRow& row) { return row.uid; }
std::string keyOfCard(const OutputCard& card) { return card.output.uid; }

std::vector<RecordListModel<OutputRow>::Role> rowRoles() {
    return {{"uid", [](const OutputRow& row) { return toQString(row.uid); }},
            {"name", [](const OutputRow& row) { return toQString(row.name); }},
            {"shortName", [](const OutputRow& row) { return toQString(row.shortName); }},
            {"symbol", [](const OutputRow& row) { return toQString(row.symbol); }},
            {"badge", [](const OutputRow& row) { return toQString(row.badge); }},
            {"badgeSymbol", [](const OutputRow& row) { return toQString(row.badgeSymbol); }}};
}

QString volumeText(const OutputCard& card) {
    if (!card.hasVolume)
        return card.output.isConnected ? QStringLiteral("Volume is set on the device") : QString();
    return card.isMuted ? QStringLiteral("Muted") : percent(card.volume);
}

std::vector<RecordListModel<OutputCard>::Role> cardRoles() {
    return {{"uid", [](const OutputCard& card) { return toQString(card.output.uid); }},
            {"name", [](const OutputCard& card) { return toQString(card.output.name); }},
            {"shortName", [](const OutputCard& card) { return toQString(card.output.shortName); }},
            {"symbol", [](const OutputCard& card) { return toQString(card.output.symbol); }},
            {"badge", [](const OutputCard& card) { return toQString(card.output.badge); }},
            {"badgeSymbol", [](const OutputCard& card) { return toQString(card.output.badgeSymbol); }},
            {"isConnected", [](const OutputCard& card) { return card.output.isConnected; }},
            {"hasVolume", [](const OutputCard& card) { return card.hasVolume; }},
            {"volume", [](const OutputCard& card) { return static_cast<double>(card.volume); }},
            {"volumeText", [](const OutputCard& card) { return volumeText(card); }},
            {"canMute", [](const OutputCard& card) { return card.canMute; }},
            {"isMuted", [](const OutputCard& card) { return card.isMuted; }}};
}

} // namespace

MenuBarAdapter::MenuBarAdapter(MenuBarViewModel& model, InStepAdapter& inStep)
    : model_(model), inStep_(inStep), firstRows_(this, keyOfRow, rowRoles()),
      secondRows_(this, keyOfRow, rowRoles()), outputs_(this, keyOfCard, cardRoles()) {
    follow(model);
}

void MenuBarAdapter::updateLists() {
    firstRows_.update(model_.pickerRows(MenuBarViewModel::Slot::first));
    secondRows_.update(model_.pickerRows(MenuBarViewModel::Slot::second));
    outputs_.update(model_.outputCards());
}

void MenuBarAdapter::choose(MenuBarViewModel::Slot slot, const QString& uid) {
    model_.choose(slot, uid.isEmpty() ? std::nullopt : std::optional(uid.toStdString()));
}

QVariantMap MenuBarAdapter::entry(MenuBarViewModel::Slot slot) const {
    const std::optional<OutputRow> row = model_.pickerEntry(slot);
    const OutputRow shown = row.value_or(OutputRow{});
    return {{"uid", toQString(shown.uid)},
            {"name", toQString(shown.name)},
            {"shortName", toQString(shown.shortName)},
            {"symbol", toQString(shown.symbol)},
            {"badge", toQString(shown.badge)},
            {"badgeSymbol", toQString(shown.badgeSymbol)},
            {"isConnected", shown.isConnected},
            {"isMissing", row && !shown.isConnected}};
}

QString MenuBarAdapter::hint() const {
    if (!model_.showsPickers()) return {};
    const auto needsMore = model_.needsMoreOutputsText();
    return toQString(needsMore ? needsMore : model_.selectionHint());
}

QString MenuBarAdapter::statusTone() const { return toQString(velto::statusTone(model_.status())); }

QString MenuBarAdapter::primaryActionSymbol() const {
    return model_.primaryAction() == PrimaryAction::stop ? QStringLiteral("stop.fill")
                                                         : QStringLiteral("play.fill");
}

bool MenuBarAdapter::isPrimaryActionProminent() const {
    return model_.primaryAction() != PrimaryAction::stop;
}

bool MenuBarAdapter::isPrimaryActionBusy() const {
    return model_.primaryAction() == PrimaryAction::preparing;
}

QString MenuBarAdapter::masterVolumeText() const { return percent(model_.masterVolume()); }

void MenuBarAdapter::setVolume(const QString& uid, double volume) {
    model_.setVolume(static_cast<float>(volume), uid.toStdString());
}

void MenuBarAdapter::toggleMute(const QString& uid) { model_.toggleMute(uid.toStdString()); }

} // namespace velto
