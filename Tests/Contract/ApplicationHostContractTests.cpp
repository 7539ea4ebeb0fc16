// What every platform's desktop does for a program. The user's pasteboard is put back where it is the real
// one.
#include "Tests/Contract/ApplicationHostUnderTest.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace velto {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

class ApplicationHostContractTests : public testing::Test {
  protected:
    ApplicationHost::SleepObserver noting(const std::string& name) {
        return {.willSleep = [this, name] { told.push_back(name + " sleeps"); },
                .didWake = [this, name] { told.push_back(name + " wakes"); }};
    }
    std::vector<std::string> sleepAndWake() {
        underTest->fallAsleep();
        underTest->wake();
        return std::exchange(told, {});
    }

    std::vector<std::string> told; // outlives the host
    const std::unique_ptr<ApplicationHostUnderTest> underTest = makeApplicationHostUnderTest();
    ApplicationHost& host = underTest->host();
};

TEST_F(ApplicationHostContractTests, OneObserverIsToldOfSleepUntilItIsReplacedOrRemoved) {
    host.removeSleepObserver(); // none is registered
    EXPECT_THAT(sleepAndWake(), ElementsAre());
    host.registerSleepObserver(noting("first"));
    EXPECT_THAT(sleepAndWake(), ElementsAre("first sleeps", "first wakes"));
    EXPECT_THAT(sleepAndWake(), ElementsAre("first sleeps", "first wakes"));
    host.registerSleepObserver(noting("second"));
    EXPECT_THAT(sleepAndWake(), ElementsAre("second sleeps", "second wakes"));
    host.removeSleepObserver();
    EXPECT_THAT(sleepAndWake(), ElementsAre());
    host.registerSleepObserver({}); // nothing to call
    EXPECT_THAT(sleepAndWake(), ElementsAre());
    host.registerSleepObserver(noting("last")); // still there when the host goes
}

TEST_F(ApplicationHostContractTests, WhatWasCopiedCanBePasted) {
    for (const std::string& text : {"Küche 🎧\nsecond line\ttab"s, "shorter"s, std::string(100'000, 'x')}) {
        host.setPasteboardText(text);
        EXPECT_EQ(underTest->pasteboardText(), text);
    }
    host.setPasteboardText("broken \xFF text"); // does no harm
    host.setPasteboardText("");
    EXPECT_EQ(underTest->pasteboardText(), "");
}

TEST_F(ApplicationHostContractTests, SaysWhatItWasBuiltWithAndRunsOn) {
    for (const char* key : {"CFBundleShortVersionString", "CFBundleVersion", "CFBundleNothing",
                            "CFBundleNoText", "", "broken \xFF"})
        EXPECT_EQ(host.bundleValue(key), underTest->builtWith(key)) << key;
    EXPECT_EQ(host.bundleValue("CFBundleNothing"), std::nullopt);
    EXPECT_THAT(host.operatingSystemVersion(), testing::ContainsRegex("[0-9]"));
}

} // namespace
} // namespace velto
