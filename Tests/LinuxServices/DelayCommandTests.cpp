#include "Platform/Linux/Delay/DelayCommand.h"

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(DelayCommandTests, WhatIsSentIsReadAndNothingElse) {
    for (const DelayCommand& command :
         {DelayCommand(SetDelay{0, 0}), DelayCommand(SetDelay{31, 183.4}), DelayCommand(SetDelay{1, 1e-9}),
          DelayCommand(PlaySweeps{1, 0, 0.25}), DelayCommand(EndSweeps{}), DelayCommand(Ping{})})
        EXPECT_EQ(readDelayCommand(delayCommandText(command)), command) << delayCommandText(command);
    for (const char* line :
         {"", " ", "delay", "delay 0", "delay 0 ", "delay 0 1 2", "delay -1 5", "delay 0 nan", "delay 0 inf",
          "delay 0 1e999", "delay 0 1,5", "delay zero 1", "sweeps", "sweeps 0 1", "sweeps 0 1 loud", "sound ",
          "Delay 0 1", "delay 99999999999999999999999 1", "ping 1"})
        EXPECT_FALSE(readDelayCommand(line)) << line;
    EXPECT_FALSE(readDelayCommand("delay 0 1." + std::string(longestDelayCommand, '0')));
}

} // namespace
} // namespace velto
