#include "Platform/Linux/Delay/AggregateWatch.h"

#include <utility>

namespace velto {

const pw_proxy_events AggregateWatch::events = [] {
    pw_proxy_events table{};
    table.version = PW_VERSION_PROXY_EVENTS;
    table.removed = [](void* watch) { static_cast<AggregateWatch*>(watch)->gone_(); };
    return table;
}();

AggregateWatch::AggregateWatch(pw_core* core, const std::string& aggregate, std::function<void()> gone)
    : gone_(std::move(gone)), listing_(core, [this, aggregate](const ServerListing& listing) {
          node_ = listing.bind(aggregate);
          if (!node_) return gone_();
          pw_proxy_add_listener(node_, &hook_, &events, this);
      }) {}

AggregateWatch::~AggregateWatch() {
    if (!node_) return;
    spa_hook_remove(&hook_);
    pw_proxy_destroy(node_);
}

} // namespace velto
