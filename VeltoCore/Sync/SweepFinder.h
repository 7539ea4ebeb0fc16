// SweepFinder: finds where in a recording each sweep of an AlignmentProbe starts, by pulse compression: where
// a sweep is recognised, the recording becomes a short pulse; every way that its sound took makes one.
//
// To one sweep the other is noise, and the louder the more it sounds. So what was found of one can be taken
// away before the other is looked for. Owned by the analysis of one recording.
#pragma once

#include "VeltoCore/Sync/AlignmentProbe.h"
#include "VeltoCore/Sync/FourierTransform.h"

#include <array>
#include <span>
#include <vector>

namespace velto {

class SweepFinder {
  public:
    using Sweep = AlignmentProbe::Sweep;

    struct Finding {
        /// Where the first pulse is, in frames and parts of one.
        double frame = 0;
        /// The highest pulse, and how far it stands above the median of all.
        double height = 0;
        double clarity = 0;
        /// Whether the highest pulse is of a sweep that isn't all in the recording.
        bool isCutOff = false;
    };

    /// The recording is at least as long as the probe.
    SweepFinder(const AlignmentProbe& probe, std::span<const float> recording);

    /// In the recording without what was taken away of the other sweep; looked for in a part of the
    /// frequencies, from 0 for the lowest to 1 for the highest.
    Finding find(Sweep sweep, double lowest = 0, double highest = 1);
    /// Finds this one, and takes what stands out of it away where the other is looked for from now on.
    Finding takeAway(Sweep sweep);

  private:
    using Values = FourierTransform::Values;

    /// The probe's frequencies of a sound.
    Values spectrum(FourierTransform& transform, std::span<const float> sound) const;
    /// By which ways the sweep came, by frequency.
    Values response(Sweep sweep) const;
    /// The squares of the pulses' heights.
    std::vector<double> pulses(Values response, double lowest, double highest);
    Finding finding(const std::vector<double>& pulses) const;

    AlignmentProbe probe_;
    std::size_t lastStart_;
    /// In a transform of the whole recording: its size, and which of its values the probe's frequencies are.
    std::size_t size_;
    std::size_t lowest_;
    std::size_t count_;
    /// Of these alone.
    std::size_t pulseCount_;
    FourierTransform transform_;
    Values recorded_;
    std::array<Values, 2> sweeps_;
    std::array<Values, 2> takenAway_;
};

} // namespace velto
