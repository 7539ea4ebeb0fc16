#include "Platform/Linux/PipeWire/PipeWireMetadata.h"

#include <nlohmann/json.hpp>
#include <spa/utils/json.h>

#include <array>
#include <utility>
#include <vector>

namespace velto {

struct PipeWireMetadata::Events {
    static int property(void* data, uint32_t subject, const char* key, const char*, const char* value) {
        auto& self = *static_cast<PipeWireMetadata*>(data);
        if (subject != 0) return 0;
        if (!key) {
            self.values_.clear();
        } else if (value) {
            self.values_.insert_or_assign(key, value);
        } else {
            self.values_.erase(key);
        }
        self.changed_();
        return 0;
    }
    static constexpr pw_metadata_events table{PW_VERSION_METADATA_EVENTS, property};
};

PipeWireMetadata::PipeWireMetadata(pw_registry* registry, uint32_t globalID, std::function<void()> changed)
    : globalID_(globalID), changed_(std::move(changed)) {
    bind(registry);
}

PipeWireMetadata::~PipeWireMetadata() { unbind(); }

void PipeWireMetadata::refresh(pw_registry* registry) {
    unbind();
    bind(registry);
}

void PipeWireMetadata::bind(pw_registry* registry) {
    proxy_ = static_cast<pw_metadata*>(
        pw_registry_bind(registry, globalID_, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    if (proxy_) pw_metadata_add_listener(proxy_, &hook_, &Events::table, this);
}

void PipeWireMetadata::unbind() {
    if (!proxy_) return;
    spa_hook_remove(&hook_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(proxy_));
}

std::optional<std::string> PipeWireMetadata::value(std::string_view key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> PipeWireMetadata::name(std::string_view key) const {
    const auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    // The server's own reader, because people write these by hand in its relaxed form.
    std::array<spa_json, 2> reader{};
    spa_json_init(&reader[0], found->second.data(), found->second.size());
    if (spa_json_enter_object(&reader[0], &reader[1]) <= 0) return std::nullopt;
    std::vector<char> text(found->second.size() + 1); // no member is longer than the whole
    const auto nextText = [&] {
        return spa_json_get_string(&reader[1], text.data(), static_cast<int>(text.size())) > 0;
    };
    while (nextText()) {
        const bool isName = std::string_view(text.data()) == "name";
        if (isName && nextText()) return text.data();
        const char* skipped = nullptr;
        if (isName || spa_json_next(&reader[1], &skipped) <= 0) break;
    }
    return std::nullopt;
}

void PipeWireMetadata::set(std::string_view key, std::string_view type, std::string_view value,
                           uint32_t subject) {
    if (!proxy_) return;
    pw_metadata_set_property(proxy_, subject, std::string(key).c_str(),
                             type.empty() ? nullptr : std::string(type).c_str(), std::string(value).c_str());
}

void PipeWireMetadata::setName(std::string_view key, std::string_view name) {
    const nlohmann::json value = {{"name", std::string(name)}};
    set(key, "Spa:String:JSON", value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

void PipeWireMetadata::remove(std::string_view key, uint32_t subject) {
    if (proxy_) pw_metadata_set_property(proxy_, subject, std::string(key).c_str(), nullptr, nullptr);
}

} // namespace velto
