// The same by what every Mac has.
#include "VeltoCore/Sync/FourierTransform.h"

#include <Accelerate/Accelerate.h>

#include <bit>
#include <new>

namespace velto {

struct FourierTransform::Implementation {
    explicit Implementation(std::size_t size)
        : logarithm(static_cast<vDSP_Length>(std::countr_zero(size))),
          setup(vDSP_create_fftsetupD(logarithm, kFFTRadix2)), real(size), imaginary(size) {
        if (!setup) throw std::bad_alloc();
    }
    ~Implementation() { vDSP_destroy_fftsetupD(setup); }

    void run(FFTDirection direction, Values& values) {
        const DSPDoubleSplitComplex parts{real.data(), imaginary.data()};
        auto* const pairs = reinterpret_cast<DSPDoubleComplex*>(values.data());
        vDSP_ctozD(pairs, 2, &parts, 1, values.size());
        vDSP_fft_zipD(setup, &parts, 1, logarithm, direction);
        vDSP_ztocD(&parts, 1, pairs, 2, values.size());
    }

    vDSP_Length logarithm;
    FFTSetupD setup;
    std::vector<double> real;
    std::vector<double> imaginary;
};

FourierTransform::FourierTransform(std::size_t size)
    : implementation_(std::make_unique<Implementation>(size)) {}
FourierTransform::~FourierTransform() = default;

void FourierTransform::forward(Values& values) { implementation_->run(FFT_FORWARD, values); }
void FourierTransform::backward(Values& values) { implementation_->run(FFT_INVERSE, values); }

} // namespace velto
