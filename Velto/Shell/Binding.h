// Binding: one value of a view model that a control shows and changes.
//
// A short-lived handle: it must not outlive the model that made it.
#pragma once

#include <functional>
#include <utility>

namespace velto {

template <class T>
class Binding {
  public:
    Binding(std::function<T()> read, std::function<void(T)> write)
        : read_(std::move(read)), write_(std::move(write)) {}

    T value() const { return read_(); }
    void set(T value) const { write_(std::move(value)); }

  private:
    std::function<T()> read_;
    std::function<void(T)> write_;
};

} // namespace velto
