// FourierTransform: the discrete Fourier transform. Which library it comes from, only its source knows.
#pragma once

#include <complex>
#include <cstddef>
#include <memory>
#include <vector>

namespace velto {

class FourierTransform {
  public:
    using Values = std::vector<std::complex<double>>;

    /// `size` must be a power of two.
    explicit FourierTransform(std::size_t size);
    ~FourierTransform();

    FourierTransform(const FourierTransform&) = delete;
    FourierTransform& operator=(const FourierTransform&) = delete;

    /// Of that many values. Not scaled: backward after forward gives each value `size` times.
    void forward(Values& values);
    void backward(Values& values);

  private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace velto
