#include "VeltoCore/Sync/FourierTransform.h"

#include <kissfft/kissfft.hh>

namespace velto {

struct FourierTransform::Implementation {
    explicit Implementation(std::size_t size) : forward(size, false), backward(size, true), result(size) {}

    void run(const kissfft<double>& transform, Values& values) {
        transform.transform(values.data(), result.data());
        values.swap(result);
    }

    kissfft<double> forward;
    kissfft<double> backward;
    /// Not made anew for each: pages that are new cost more than the transform.
    Values result;
};

FourierTransform::FourierTransform(std::size_t size)
    : implementation_(std::make_unique<Implementation>(size)) {}
FourierTransform::~FourierTransform() = default;

void FourierTransform::forward(Values& values) { implementation_->run(implementation_->forward, values); }
void FourierTransform::backward(Values& values) { implementation_->run(implementation_->backward, values); }

} // namespace velto
