// PipeWireMetadata: one of the server's key-value stores ("default" or "settings"), mirrored.
#pragma once

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

class PipeWireMetadata {
  public:
    /// Mirrors until destroyed; calls `changed` from within server callbacks.
    PipeWireMetadata(pw_registry* registry, uint32_t globalID, std::function<void()> changed);
    PipeWireMetadata(const PipeWireMetadata&) = delete;
    PipeWireMetadata& operator=(const PipeWireMetadata&) = delete;
    ~PipeWireMetadata();

    /// Asks the server for all values again. Not from within a server callback.
    void refresh(pw_registry* registry);

    uint32_t globalID() const noexcept { return globalID_; }
    /// The global value under the key (subject 0); none when there is none.
    std::optional<std::string> value(std::string_view key) const;
    /// The member "name" of the JSON object under the key; none when there is no such value.
    std::optional<std::string> name(std::string_view key) const;

    /// Asks the server to store the value. The mirror follows with the server's event.
    void set(std::string_view key, std::string_view type, std::string_view value, uint32_t subject = 0);
    /// Stores `{"name": …}`, the form in which the session manager keeps devices.
    void setName(std::string_view key, std::string_view name);
    void remove(std::string_view key, uint32_t subject = 0);

  private:
    struct Events;
    void bind(pw_registry* registry);
    void unbind();

    pw_metadata* proxy_ = nullptr;
    uint32_t globalID_;
    spa_hook hook_{};
    std::map<std::string, std::string, std::less<>> values_;
    std::function<void()> changed_;
};

} // namespace velto
