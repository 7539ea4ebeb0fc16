// AlignmentRun: measures two outputs of an aggregate with a microphone, has the earlier one delayed, and
// measures again through the delays: only what the second measurement confirms is an answer.
//
// Made for one run; main actor only. It silences what players send and changes delays, and puts neither back:
// that is for its owner, at whatever end. A cancelled token ends it in a turn of its own.
#pragma once

#include "VeltoCore/Async/Cancellation.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Sync/Alignment.h"
#include "VeltoCore/Sync/Microphone.h"
#include "VeltoCore/Sync/SyncEngine.h"

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velto {

class AlignmentRun {
  public:
    enum class Step { opening, measuring, confirming };
    struct Progress {
        Step step = Step::opening;
        /// The name of the input that is heard; empty until something is.
        std::string input;
        /// How loud, from 0 to 1.
        float level = 0;

        friend bool operator==(const Progress&, const Progress&) = default;
    };
    struct Request {
        AudioObjectID aggregate = kAudioObjectUnknown;
        AlignedOutputs outputs;
        /// As they are delayed now.
        OutputDelays delays;
        /// Empty for the default one.
        std::string inputUID;
        /// Of the sweeps, of full scale.
        double peak = 0;
    };
    template <class Value>
    using Outcome = std::expected<Value, AlignmentFailure>;

    /// All must outlive the run; `progress` is called when it differs.
    AlignmentRun(MainActor& actor, CoreAudioClient& client, SyncEngine& engine, Microphone& microphone,
                 Request request, std::function<void(const Progress&)> progress, CancellationToken token);
    AlignmentRun(const AlignmentRun&) = delete;
    AlignmentRun& operator=(const AlignmentRun&) = delete;

    Task<Outcome<Alignment>> run();
    /// What is heard now.
    const Progress& progress() const noexcept { return progress_; }

  private:
    std::optional<AlignmentFailure> open();
    Task<Outcome<AlignmentMeasurement>> measure(Step step, double longestDelay);
    /// Waits until so much was heard, from a call of this on.
    Task<std::optional<AlignmentFailure>> listen(double seconds);
    std::optional<AlignmentFailure> play();
    std::optional<AlignmentFailure> delay(const OutputDelays& delays);
    Task<Outcome<AlignmentMeasurement>> analyse(std::vector<float> recording);
    void tell();

    MainActor& actor_;
    CoreAudioClient& client_;
    SyncEngine& engine_;
    Microphone& microphone_;
    Request request_;
    std::function<void(const Progress&)> told_;
    CancellationToken token_;
    AlignmentProbe probe_;
    std::unique_ptr<Microphone::Recording> recording_;
    Progress progress_;
};

} // namespace velto
