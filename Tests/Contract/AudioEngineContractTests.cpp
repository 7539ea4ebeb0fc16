// What every platform's engine does. It plays for a moment, and hardly to be heard.
#include "Tests/Contract/AudioEngineUnderTest.h"
#include "VeltoCore/Sync/ClickGenerator.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <exception>
#include <limits>
#include <memory>
#include <optional>

namespace velto {
namespace {

/// Clicks, and what the engine asked for. Only the audio thread plays it.
struct Sound {
    explicit Sound(double rate) : clicks(rate, 0.01, 0.001F) {}

    OSStatus render(std::uint32_t frameCount, std::span<float* const> bufferList) {
        bool hasBuffer = false;
        for (float* const buffer : bufferList) {
            if (!buffer) continue;
            hasBuffer = true;
            buffer[frameCount - 1] = 0; // all of it can be written to
        }
        if (frameCount == 0 || !hasBuffer) isAtFault = true;
        const OSStatus status = clicks.render(frameCount, bufferList);
        for (float* const buffer : bufferList)
            for (std::uint32_t i = 0; buffer && i < frameCount; ++i)
                if (std::abs(buffer[i]) > 0.0001F) isHeard = true;
        frames += frameCount;
        return answer.value_or(status);
    }

    ClickGenerator clicks;
    std::optional<OSStatus> answer;
    std::atomic<std::int64_t> frames = 0;
    std::atomic<bool> isHeard = false;
    std::atomic<bool> isAtFault = false;
};

class AudioEngineContractTests : public testing::Test {
  protected:
    AudioEngine& engine() { return underTest->engine(); }
    /// Starts the sound, which the engine alone keeps alive.
    std::weak_ptr<Sound> start(double rate, std::optional<OSStatus> answer = std::nullopt) {
        auto sound = std::make_shared<Sound>(48000);
        sound->answer = answer;
        const std::weak_ptr<Sound> result = sound;
        engine().start(rate,
                       [sound = std::move(sound)](auto... arguments) { return sound->render(arguments...); });
        return result;
    }
    bool becomesHeard(const std::weak_ptr<Sound>& started) {
        const auto sound = started.lock();
        return sound && underTest->runUntil([&] { return sound->isHeard && sound->frames > 4096; }) &&
               !sound->isAtFault;
    }

    const std::unique_ptr<AudioEngineUnderTest> underTest = makeAudioEngineUnderTest();
};

TEST_F(AudioEngineContractTests, PlaysUntilItIsStoppedAndThenNothingIsLeft) {
    engine().stop(); // nothing plays
    const double rate = engine().outputSampleRate();
    EXPECT_GE(rate, 8000);
    for (int round = 0; round < 3; ++round) {
        const auto sound = start(rate);
        EXPECT_TRUE(becomesHeard(sound)) << round;
        engine().stop();
        EXPECT_TRUE(sound.expired()) << "the block is gone when stop() returns";
        if (round > 0) engine().stop();
    }
    const auto stoppedAtOnce = start(rate);
    engine().stop();
    EXPECT_TRUE(stoppedAtOnce.expired());
    const auto last = start(rate);
    EXPECT_TRUE(becomesHeard(last));
    underTest->dropEngine();
    EXPECT_TRUE(last.expired());
}

TEST_F(AudioEngineContractTests, ABlockThatHasNoSoundIsAskedOn) {
    const auto silent = start(engine().outputSampleRate(), -50);
    EXPECT_TRUE(becomesHeard(silent));
    engine().stop();
    EXPECT_TRUE(silent.expired());
}

TEST_F(AudioEngineContractTests, ARateThatIsNoneIsRefusedAndNothingPlays) {
    for (const double rate :
         {0.0, -48000.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        const auto sound = std::make_shared<int>(0);
        EXPECT_THROW(engine().start(rate, [sound](auto, auto) { return noErr; }), std::exception) << rate;
        EXPECT_EQ(sound.use_count(), 1) << rate;
    }
    EXPECT_TRUE(becomesHeard(start(engine().outputSampleRate()))) << "a failed start is no start";
}

} // namespace
} // namespace velto
