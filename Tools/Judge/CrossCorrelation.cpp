#include "Tools/Judge/CrossCorrelation.h"

#include <fftw3.h>

#include <algorithm>
#include <complex>

namespace velto::judge {

namespace {

using Complex = std::complex<float>;

struct FreeBuffer {
    void operator()(Complex* buffer) const { fftwf_free(buffer); }
};
using Buffer = std::unique_ptr<Complex[], FreeBuffer>;

struct FreePlan {
    void operator()(fftwf_plan plan) const { fftwf_destroy_plan(plan); }
};
using Plan = std::unique_ptr<std::remove_pointer_t<fftwf_plan>, FreePlan>;

/// The next size without prime factors above 5: those are transformed fastest.
std::size_t fastSize(std::size_t atLeast) {
    for (std::size_t size = std::max<std::size_t>(atLeast, 1);; ++size) {
        std::size_t rest = size;
        for (const std::size_t factor : {2, 3, 5}) {
            while (rest % factor == 0)
                rest /= factor;
        }
        if (rest == 1) return size;
    }
}

Buffer makeBuffer(std::size_t size) { return Buffer(reinterpret_cast<Complex*>(fftwf_alloc_complex(size))); }

Plan makePlan(Complex* buffer, std::size_t size, int direction) {
    auto* data = reinterpret_cast<fftwf_complex*>(buffer);
    return Plan(fftwf_plan_dft_1d(static_cast<int>(size), data, data, direction, FFTW_ESTIMATE));
}

void fill(Complex* buffer, std::size_t size, Frames frames) {
    const auto end = std::ranges::transform(frames, buffer, [](const Frame& frame) {
                         return Complex(frame.left, frame.right);
                     }).out;
    std::fill(end, buffer + size, Complex());
}

} // namespace

struct CrossCorrelation::Transform {
    explicit Transform(std::size_t length)
        : referenceLength(length), size(fastSize(length)), buffer(makeBuffer(size)),
          forward(makePlan(buffer.get(), size, FFTW_FORWARD)),
          backward(makePlan(buffer.get(), size, FFTW_BACKWARD)) {}

    std::size_t referenceLength;
    std::size_t size;
    /// Where both transforms take place.
    Buffer buffer;
    Plan forward;
    Plan backward;
    std::vector<Complex> referenceSpectrum;
};

CrossCorrelation::CrossCorrelation(Frames reference)
    : transform_(std::make_unique<Transform>(reference.size())) {
    Transform& transform = *transform_;
    fill(transform.buffer.get(), transform.size, reference);
    fftwf_execute(transform.forward.get());
    transform.referenceSpectrum.assign(transform.buffer.get(), transform.buffer.get() + transform.size);
}

CrossCorrelation::~CrossCorrelation() = default;

std::vector<float> CrossCorrelation::with(Frames excerpt) const {
    Transform& transform = *transform_;
    if (excerpt.empty() || excerpt.size() > transform.referenceLength) return {};
    Complex* buffer = transform.buffer.get();
    fill(buffer, transform.size, excerpt);
    fftwf_execute(transform.forward.get());
    const float scale = 1 / static_cast<float>(transform.size);
    for (std::size_t i = 0; i < transform.size; ++i)
        buffer[i] = transform.referenceSpectrum[i] * std::conj(buffer[i]) * scale;
    fftwf_execute(transform.backward.get());

    // Places beyond these would wrap around.
    std::vector<float> products(transform.referenceLength - excerpt.size() + 1);
    std::ranges::transform(buffer, buffer + products.size(), products.begin(),
                           [](Complex value) { return value.real(); });
    return products;
}

} // namespace velto::judge
