#import "Platform/macOS/AVFAudioEngine.h"

#import "Platform/macOS/FoundationText.h"

#import <AVFAudio/AVFAudio.h>
#import <Foundation/Foundation.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

namespace velto {

namespace {

constexpr std::size_t mostChannels = 64;

/// The frameworks of sound raise exceptions of their own kind, which would end the program.
template <class Action>
void rethrowingPlatformExceptions(const Action& action) {
    std::string reason;
    @try {
        action();
        return;
    } @catch (NSException* exception) {
        reason = textOf(exception.reason);
    }
    throw std::runtime_error(reason);
}

AVAudioFormat* outputFormat(AVAudioEngine* engine) {
    AVAudioFormat* format = [engine.outputNode inputFormatForBus:0];
    if (format.sampleRate <= 0 || format.channelCount == 0) throw std::runtime_error("There is no output.");
    return format;
}

/// On the audio thread. Channels beyond the most that are rendered stay silent.
OSStatus renderInto(const AudioEngine::RenderBlock& render, AVAudioFrameCount frameCount,
                    AudioBufferList* list) {
    std::array<float*, mostChannels> buffers{};
    const std::size_t rendered = std::min<std::size_t>(list->mNumberBuffers, mostChannels);
    for (std::size_t i = 0; i < rendered; ++i)
        buffers[i] = static_cast<float*>(list->mBuffers[i].mData);
    for (std::size_t i = rendered; i < list->mNumberBuffers; ++i)
        std::fill_n(static_cast<std::byte*>(list->mBuffers[i].mData), list->mBuffers[i].mDataByteSize,
                    std::byte{});
    return render(frameCount, std::span(buffers).first(rendered));
}

} // namespace

struct AVFAudioEngine::Run {
    AVAudioEngine* engine;
    std::shared_ptr<RenderBlock> render; // the node's block holds it too
};

AVFAudioEngine::AVFAudioEngine() = default;

AVFAudioEngine::~AVFAudioEngine() { stop(); }

double AVFAudioEngine::outputSampleRate() {
    double rate = 0;
    @autoreleasepool {
        rethrowingPlatformExceptions([&] { rate = outputFormat([[AVAudioEngine alloc] init]).sampleRate; });
    }
    return rate;
}

void AVFAudioEngine::start(double sampleRate, RenderBlock render) {
    auto run = std::make_unique<Run>();
    run->render = std::make_shared<RenderBlock>(std::move(render));
    NSString* failure = nil;
    @autoreleasepool {
        rethrowingPlatformExceptions([&] {
            AVAudioEngine* engine = [[AVAudioEngine alloc] init];
            run->engine = engine;
            AVAudioFormat* format = outputFormat(engine);
            if (format.sampleRate != sampleRate)
                throw std::runtime_error("The output changed its sample rate meanwhile.");
            const std::shared_ptr<RenderBlock> shared = run->render;
            AVAudioSourceNode* source = [[AVAudioSourceNode alloc]
                initWithFormat:format
                   renderBlock:^OSStatus(BOOL*, const AudioTimeStamp*, AVAudioFrameCount frameCount,
                                         AudioBufferList* list) {
                     return renderInto(*shared, frameCount, list);
                   }];
            [engine attachNode:source];
            [engine connect:source to:engine.mainMixerNode format:format];
            [engine connect:engine.mainMixerNode to:engine.outputNode format:format];
            NSError* error = nil;
            if (![engine startAndReturnError:&error])
                failure = error.localizedDescription ?: @"The audio engine did not start.";
        });
    }
    if (failure) throw std::runtime_error(textOf(failure));
    run_ = std::move(run);
}

void AVFAudioEngine::stop() noexcept {
    const auto run = std::exchange(run_, nullptr);
    if (!run) return;
    @autoreleasepool {
        [run->engine stop]; // waits for the audio thread
        *run->render = nullptr;
        run->engine = nil;
    }
}

} // namespace velto
