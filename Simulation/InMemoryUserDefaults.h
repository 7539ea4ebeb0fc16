// InMemoryUserDefaults: the user's defaults without a disk.
//
// It keeps apart what is stored and what has reached the "disk", so that a test can ask what a crash would
// leave: `InMemoryUserDefaults afterCrash(defaults.onDisk());`
#pragma once

#include "VeltoCore/Services/UserDefaults.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace velto {

class InMemoryUserDefaults final : public UserDefaults {
  public:
    explicit InMemoryUserDefaults(DefaultsDictionary onDisk = {})
        : stored_(std::move(onDisk)), onDisk_(stored_) {}

    std::optional<DefaultsValue> storedValue(std::string_view key) const override;
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    void synchronize() override;

    /// Holds what a new run finds on the disk.
    void startOver(const DefaultsDictionary& onDisk) { stored_ = onDisk_ = DefaultsDictionary(onDisk); }
    /// Nothing reaches the disk from now on, for the reason given; until there is none.
    void failWrites(std::optional<std::string> reason) { fault_ = std::move(reason); }
    const DefaultsDictionary& stored() const noexcept { return stored_; }
    /// What the last synchronize() wrote: all that survives a crash.
    const DefaultsDictionary& onDisk() const noexcept { return onDisk_; }
    /// Calls of set() and remove().
    int writeCount() const noexcept { return writeCount_; }

  private:
    DefaultsDictionary stored_;
    DefaultsDictionary onDisk_;
    std::optional<std::string> fault_;
    int writeCount_ = 0;
};

} // namespace velto
