#include "Platform/Linux/PipeWire/PipeWireMetadata.h"

#include "Platform/Linux/PipeWire/PipeWireStoredName.h"
#include "Platform/Linux/PipeWire/PipeWireText.h"

#include <utility>

namespace velto {

namespace {

/// The device that a stored value names, as the program knows it.
std::optional<std::string> nameIn(const std::string& stored) {
    return PipeWireStoredName::read(stored).transform(PipeWireText::fromServer);
}

} // namespace

struct PipeWireMetadata::Watch {
    PipeWireMetadata& owner;
    pw_metadata* proxy;
    spa_hook hook{};
    std::map<std::string, std::string, std::less<>> values{};

    Watch(PipeWireMetadata& metadata, pw_registry* registry)
        : owner(metadata),
          proxy(static_cast<pw_metadata*>(pw_registry_bind(
              registry, metadata.globalID_, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0))) {
        if (proxy) pw_metadata_add_listener(proxy, &hook, &events, this);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch() {
        if (!proxy) return;
        spa_hook_remove(&hook);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(proxy));
    }

    static int property(void* data, uint32_t subject, const char* key, const char*, const char* value) {
        auto& self = *static_cast<Watch*>(data);
        if (subject != 0) return 0;
        if (!key) {
            self.values.clear();
        } else if (value) {
            self.values.insert_or_assign(key, value);
        } else if (const auto found = self.values.find(key); found != self.values.end()) {
            self.values.erase(found);
        }
        if (key) self.owner.told(key, value);
        if (self.owner.watch_.get() == &self) self.owner.changed_();
        return 0;
    }
    static constexpr pw_metadata_events events{PW_VERSION_METADATA_EVENTS, property};
};

PipeWireMetadata::PipeWireMetadata(pw_registry* registry, uint32_t globalID, std::function<void()> changed)
    : globalID_(globalID), changed_(std::move(changed)), watch_(std::make_unique<Watch>(*this, registry)) {}

PipeWireMetadata::~PipeWireMetadata() = default;

int PipeWireMetadata::refresh(pw_registry* registry) {
    if (next_) return refreshes_;
    next_ = std::make_unique<Watch>(*this, registry);
    return ++refreshes_;
}

void PipeWireMetadata::completed(int refresh) {
    isComplete_ = true;
    // One that was asked for earlier has nothing to say of the values that arrive now.
    if (next_ && refresh == refreshes_) {
        watch_ = std::move(next_);
        // What was sent before it was asked for is among its values.
        std::erase_if(pending_, [refresh](const auto& entry) { return entry.second.refresh < refresh; });
    }
    changed_();
}

pw_metadata* PipeWireMetadata::proxy() const noexcept { return watch_->proxy; }

std::optional<std::string> PipeWireMetadata::value(std::string_view key) const {
    const auto found = watch_->values.find(key);
    return found == watch_->values.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> PipeWireMetadata::name(std::string_view key) const {
    return value(key).and_then(nameIn);
}

std::optional<std::string> PipeWireMetadata::nameToCome(std::string_view key) const {
    const auto pending = pending_.find(key);
    if (pending == pending_.end()) return name(key);
    return pending->second.value.and_then(nameIn);
}

void PipeWireMetadata::told(const std::string& key, const char* value) {
    const auto pending = pending_.find(key);
    if (pending == pending_.end()) return;
    const auto& expected = pending->second.value;
    if (value ? expected == value : !expected) pending_.erase(pending);
}

void PipeWireMetadata::expect(std::string_view key, std::optional<std::string> value) {
    pending_.insert_or_assign(std::string(key), Pending{std::move(value), refreshes_});
}

void PipeWireMetadata::set(std::string_view key, std::string_view type, std::string_view value,
                           uint32_t subject) {
    if (!proxy()) return;
    if (subject == 0) expect(key, std::string(value));
    pw_metadata_set_property(proxy(), subject, std::string(key).c_str(),
                             type.empty() ? nullptr : std::string(type).c_str(), std::string(value).c_str());
}

void PipeWireMetadata::setName(std::string_view key, std::string_view name) {
    set(key, "Spa:String:JSON", PipeWireStoredName::text(PipeWireText::toServer(name)));
}

void PipeWireMetadata::remove(std::string_view key, uint32_t subject) {
    if (!proxy()) return;
    // Of what isn't there nothing is told.
    if (subject == 0 && (value(key) || isPending(key))) expect(key, std::nullopt);
    pw_metadata_set_property(proxy(), subject, std::string(key).c_str(), nullptr, nullptr);
}

} // namespace velto
