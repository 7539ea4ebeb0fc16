// AggregateWatch: tells when the aggregate that a program works for has gone.
#pragma once

#include "Platform/Linux/Delay/ServerListing.h"

#include <functional>
#include <string>

namespace velto {

class AggregateWatch {
  public:
    /// `gone` is called also where there is no such aggregate, from within server callbacks.
    AggregateWatch(pw_core* core, const std::string& aggregate, std::function<void()> gone);
    AggregateWatch(const AggregateWatch&) = delete;
    AggregateWatch& operator=(const AggregateWatch&) = delete;
    ~AggregateWatch();

  private:
    static const pw_proxy_events events;

    std::function<void()> gone_;
    ServerListing listing_;
    pw_proxy* node_ = nullptr;
    spa_hook hook_{};
};

} // namespace velto
