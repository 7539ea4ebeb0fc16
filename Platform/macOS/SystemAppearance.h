// SystemAppearance: how the user wants programs to look, from System Settings.
//
// Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace velto {

class SystemAppearance {
  public:
    /// Each from 0 to 1.
    struct Color {
        double red = 0;
        double green = 0;
        double blue = 0;
    };

    /// The handler is called on the main thread when any of this may have changed.
    explicit SystemAppearance(std::function<void()> changed);
    SystemAppearance(const SystemAppearance&) = delete;
    SystemAppearance& operator=(const SystemAppearance&) = delete;
    ~SystemAppearance();

    bool isDark() const;
    Color accent() const;
    bool reducesMotion() const;

  private:
    struct Observation;
    std::unique_ptr<Observation> observation_;
};

} // namespace velto
