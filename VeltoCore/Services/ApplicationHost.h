// ApplicationHost: what the program asks of the desktop it runs on.
//
// Owned by the program's entry point; main actor only. Nothing here fails in a way that the program could do
// anything about: what a platform doesn't have does nothing, or is absent.
#pragma once

#include "VeltoCore/Services/PlatformWords.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class ApplicationHost {
  public:
    enum class ActivationPolicy {
        /// An ordinary program: in the Dock or task bar, with a menu bar where programs have one.
        regular,
        /// Only a status item and the windows that it opens.
        accessory,
    };

    struct SystemDetail {
        std::string title;
        std::string value;
    };

    /// Both are called on the main actor.
    struct SleepObserver {
        std::function<void()> willSleep;
        std::function<void()> didWake;
    };

    virtual ~ApplicationHost() = default;

    /// What things are called here; the same at every call.
    virtual const PlatformWords& words() const noexcept = 0;

    virtual void setActivationPolicy(ActivationPolicy policy) = 0;
    /// Brings the program to the front, whatever the user is doing.
    virtual void activateIgnoringOtherApplications() = 0;
    /// Gives the keyboard back to the program that had it before, once no window of this one is open.
    virtual void yieldActivation() = 0;
    /// Lets the program end, after a request to quit was answered with "later". Once for each such request.
    virtual void replyToTermination() = 0;

    /// Tells the observer from now on when the machine falls asleep and wakes up. There is one at a time: it
    /// replaces the one before.
    virtual void registerSleepObserver(SleepObserver observer) = 0;
    /// Nothing when none is registered.
    virtual void removeSleepObserver() = 0;

    /// Replaces what is on the general pasteboard.
    virtual void setPasteboardText(std::string_view text) = 0;

    /// What the program's bundle, or its build, says under "CFBundleShortVersionString" or "CFBundleVersion".
    /// Absent for what is missing or no text.
    virtual std::optional<std::string> bundleValue(std::string_view key) const = 0;
    /// For a reader, such as "Version 15.2 (Build 24C101)".
    virtual std::string operatingSystemVersion() const = 0;
    /// What else tells one system from another, for who looks for a fault; empty where its version says it
    /// all.
    virtual std::vector<SystemDetail> systemDetails() const = 0;
};

} // namespace velto
