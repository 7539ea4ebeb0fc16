// PipeWireMetadata: one of the server's key-value stores ("default" or "settings"), mirrored.
//
// The values arrive after it has begun to watch; when the server has answered what was asked after that, they
// are complete, and its owner says so. The store tells everybody of a change but those who watched it before
// somebody else began to, at that moment: so a mirror can miss changes, removals too, and is refreshed by
// watching anew. What it knew stays until the new values are complete, then it knows nothing else.
#pragma once

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
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

    /// Asks the server for all values again, unless that is under way; they are complete when completed() is
    /// called with the number that this answers.
    int refresh(pw_registry* registry);
    /// The server has answered what was asked after that refresh; or, 0, after the mirror began.
    void completed(int refresh = 0);
    /// Whether all values have been known once.
    bool isComplete() const noexcept { return isComplete_; }

    uint32_t globalID() const noexcept { return globalID_; }
    /// The global value under the key (subject 0), as it is stored; none when there is none.
    std::optional<std::string> value(std::string_view key) const;
    /// The device that the JSON object under the key names; none when there is no such value.
    std::optional<std::string> name(std::string_view key) const;

    /// Whether the store has yet to tell what it was last given under the key.
    bool isPending(std::string_view key) const { return pending_.contains(key); }
    /// The name that it holds when it has done all it was told from here; none where there is none then.
    std::optional<std::string> nameToCome(std::string_view key) const;

    /// Asks the server to store the value. The mirror follows with the server's event.
    void set(std::string_view key, std::string_view type, std::string_view value, uint32_t subject = 0);
    /// Stores `{"name": …}`, the form in which the session manager keeps devices.
    void setName(std::string_view key, std::string_view name);
    void remove(std::string_view key, uint32_t subject = 0);

  private:
    struct Watch;
    struct Pending {
        std::optional<std::string> value; // none where it was removed
        int refresh;                      // the last before it was sent
    };
    pw_metadata* proxy() const noexcept;
    /// The store has told a value, or of none.
    void told(const std::string& key, const char* value);
    void expect(std::string_view key, std::optional<std::string> value);

    uint32_t globalID_;
    std::function<void()> changed_;
    std::unique_ptr<Watch> watch_;
    std::unique_ptr<Watch> next_; // begun anew, its values are still arriving
    int refreshes_ = 0;
    bool isComplete_ = false;
    /// Global values that were sent and not told since.
    std::map<std::string, Pending, std::less<>> pending_;
};

} // namespace velto
