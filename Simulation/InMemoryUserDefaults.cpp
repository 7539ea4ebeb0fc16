#include "Simulation/InMemoryUserDefaults.h"

namespace velto {

std::optional<DefaultsValue> InMemoryUserDefaults::storedValue(std::string_view key) const {
    const auto found = stored_.find(key);
    return found == stored_.end() ? std::nullopt : std::optional(found->second);
}

void InMemoryUserDefaults::set(std::string_view key, DefaultsValue value) {
    ++writeCount_;
    stored_.insert_or_assign(std::string(key), std::move(value));
}

void InMemoryUserDefaults::remove(std::string_view key) {
    ++writeCount_;
    if (const auto found = stored_.find(key); found != stored_.end()) stored_.erase(found);
}

void InMemoryUserDefaults::synchronize() {
    if (!fault_) onDisk_ = stored_;
    setWriteFailure(fault_);
}

} // namespace velto
