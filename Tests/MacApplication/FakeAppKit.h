// FakeAppKit: the application object and the menu bar of a Mac, as far as the program's own adapters speak to
// them. Stands in for the sources of Platform/macOS that need the system's frameworks; their headers are the
// real ones.
//
// How to use it: make one, make the application, act as the user (verbs), look (questions).
#pragma once

#include "Platform/macOS/MenuBarItem.h"
#include "Platform/macOS/TerminationDelegate.h"

#include <string>
#include <string_view>

namespace velto {

class FakeAppKit {
  public:
    FakeAppKit();
    FakeAppKit(const FakeAppKit&) = delete;
    FakeAppKit& operator=(const FakeAppKit&) = delete;
    ~FakeAppKit();

    /// The one that there is.
    static FakeAppKit& current();

    // Verbs

    /// Cmd-Q, the system's menu, log-out: they ask the delegate at once.
    void terminate();
    void dragItemOut();
    /// What the program asked for leaves the turn that it was asked in.
    void turnRunLoop();
    void openAgain();
    void clickItem();
    void scrollOverItem(double notches);
    /// False when there is no such entry.
    bool choose(std::string_view label);

    // Questions

    /// By "now": the process ends without waiting.
    bool hasEnded = false;
    /// By "later": until the application host replies.
    bool isWaitingForReply = false;
    std::string symbol;
    std::string accessibilityText;

    // Of the adapters

    bool isTerminationRequested = false;
    TerminationDelegate::Handlers delegate;
    MenuBarItem::Handlers item;
};

} // namespace velto
