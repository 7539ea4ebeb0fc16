#include "Tests/MacApplication/FakeAppKit.h"

#include <gtest/gtest.h>

#include <utility>

namespace velto {

namespace {

FakeAppKit* existing = nullptr;

} // namespace

FakeAppKit::FakeAppKit() { existing = this; }

FakeAppKit::~FakeAppKit() { existing = nullptr; }

FakeAppKit& FakeAppKit::current() { return *existing; }

void FakeAppKit::terminate() {
    if (!delegate.shouldTerminate || delegate.shouldTerminate() == TerminationDelegate::Reply::now) {
        hasEnded = true;
    } else {
        isWaitingForReply = true;
    }
}

void FakeAppKit::turnRunLoop() {
    if (std::exchange(isTerminationRequested, false)) terminate();
}

void FakeAppKit::dragItemOut() { item.removed(); }

void FakeAppKit::openAgain() { delegate.reopened(); }

void FakeAppKit::clickItem() { item.clicked(); }

void FakeAppKit::scrollOverItem(double notches) { item.scrolled(notches); }

bool FakeAppKit::choose(std::string_view label) {
    for (const MenuBarItem::MenuEntry& entry : item.menu()) {
        if (entry.label != label) continue;
        entry.chosen();
        return true;
    }
    return false;
}

// The adapters

struct TerminationDelegate::Delegate {};

TerminationDelegate::TerminationDelegate() = default;
TerminationDelegate::~TerminationDelegate() { setHandlers({}); }
void TerminationDelegate::setHandlers(Handlers handlers) {
    FakeAppKit::current().delegate = std::move(handlers);
}
void TerminationDelegate::requestTermination() { FakeAppKit::current().isTerminationRequested = true; }

struct MenuBarItem::Item {};

MenuBarItem::MenuBarItem(Handlers handlers) { FakeAppKit::current().item = std::move(handlers); }
MenuBarItem::~MenuBarItem() { FakeAppKit::current().item = {}; }
void MenuBarItem::setLabel(std::string_view symbol, std::string_view accessibilityText, std::string_view) {
    FakeAppKit::current().symbol = symbol;
    FakeAppKit::current().accessibilityText = accessibilityText;
}
MenuBarItem::Place MenuBarItem::place() const { return {1200, 0, 28, 24}; }

} // namespace velto
