// HALTest: the real client over a fake HAL.
//
// Fails every test that leaves a platform object, a block or a listener, uses a dead one, or scripts a
// failure that never comes.
#pragma once

#include "Tests/HAL/FakeHAL.h"
#include "Tests/Support/StatusThrown.h"
#include "VeltoCore/CoreAudio/SystemCoreAudioClient.h"
#include "VeltoCore/Services/LoggingService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velto {

class HALTest : public ::testing::Test, private LogSink {
  protected:
    static constexpr AudioObjectID device = 42;
    static constexpr AudioObjectID systemObject = kAudioObjectSystemObject;

    HALTest() { LoggingService::install(this); }
    ~HALTest() override { LoggingService::install(nullptr); }

    void TearDown() override {
        EXPECT_THAT(hal.listeners, ::testing::IsEmpty());
        EXPECT_FALSE(hal.hasPendingFault());
        hal.release();
        EXPECT_EQ(hal.liveBlocks(), 0u);
        EXPECT_THAT(hal.faults, ::testing::IsEmpty());
        EXPECT_THAT(fake::liveObjects(), ::testing::IsEmpty());
        EXPECT_THAT(fake::coreFoundationFaults(), ::testing::IsEmpty());
        fake::resetCoreFoundation();
    }

    static constexpr AudioObjectPropertyAddress global(AudioObjectPropertySelector selector) {
        return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
    }
    static constexpr AudioObjectPropertyAddress output(AudioObjectPropertySelector selector,
                                                       AudioObjectPropertyElement element = 0) {
        return {selector, kAudioObjectPropertyScopeOutput, element};
    }

    fake::FakeHAL hal;
    SystemCoreAudioClient client;
    /// What was logged: errors of the devices' channel, nothing else is expected here.
    std::vector<std::string> log;

  private:
    bool isEnabled(LogLevel) const noexcept override { return true; }
    void write(const LogMessage& message) override {
        EXPECT_EQ(message.level, LogLevel::error);
        EXPECT_EQ(message.category, "AudioDevices");
        log.push_back(message.text());
    }
};

} // namespace velto
