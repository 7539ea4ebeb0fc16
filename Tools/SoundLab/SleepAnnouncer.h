// SleepAnnouncer: says on a bus what a login manager says when the machine falls asleep and wakes.
#pragma once

#include <memory>
#include <string>

struct sd_bus;

namespace velto {

class SleepAnnouncer {
  public:
    /// Takes the login manager's name on that bus. Throws std::runtime_error, as the others do.
    explicit SleepAnnouncer(const std::string& busAddress);

    void fallAsleep() { announce(true); }
    void wake() { announce(false); }

  private:
    struct End {
        void operator()(sd_bus* bus) const noexcept;
    };

    void announce(bool isFallingAsleep);

    std::unique_ptr<sd_bus, End> bus_;
};

} // namespace velto
