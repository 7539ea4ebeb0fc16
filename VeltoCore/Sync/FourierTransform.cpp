#include "VeltoCore/Sync/FourierTransform.h"

#include <unsupported/Eigen/FFT>

namespace velto {

struct FourierTransform::Implementation {
    explicit Implementation(std::size_t size) : result(size) {
        transform.SetFlag(Eigen::FFT<double>::Unscaled);
    }

    Eigen::FFT<double> transform;
    /// Not made anew for each: pages that are new cost more than the transform.
    Values result;
};

FourierTransform::FourierTransform(std::size_t size)
    : implementation_(std::make_unique<Implementation>(size)) {}
FourierTransform::~FourierTransform() = default;

void FourierTransform::forward(Values& values) {
    implementation_->transform.fwd(implementation_->result, values);
    values.swap(implementation_->result);
}

void FourierTransform::backward(Values& values) {
    implementation_->transform.inv(implementation_->result, values);
    values.swap(implementation_->result);
}

} // namespace velto
