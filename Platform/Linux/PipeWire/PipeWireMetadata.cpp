#include "Platform/Linux/PipeWire/PipeWireMetadata.h"

#include <spa/utils/json.h>

#include <array>
#include <map>
#include <utility>
#include <vector>

namespace velto {

namespace {

/// The member "name" of a JSON object; none when there is none, or the text is no JSON.
std::optional<std::string> memberName(const std::string& object) {
    // The server's own reader, because people write these by hand in its relaxed form.
    std::array<spa_json, 2> reader{};
    spa_json_init(&reader[0], object.data(), object.size());
    if (spa_json_enter_object(&reader[0], &reader[1]) <= 0) return std::nullopt;
    std::vector<char> text(object.size() + 1); // no member is longer than the whole
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

// A device's name need not be valid UTF-8, but that is all the reader takes: bytes go past it as characters
// of a private area, U+F700 to U+F7FF.

constexpr std::string_view hexadecimal = "0123456789abcdef";

std::string escapedBytes(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            result += c;
        else
            result += {'\\', 'u', 'f', '7', hexadecimal[byte >> 4], hexadecimal[byte & 15]};
    }
    return result;
}

std::optional<std::string> unescapedBytes(const std::optional<std::string>& text) {
    if (!text) return std::nullopt;
    std::string result;
    for (std::size_t i = 0; i < text->size(); ++i) {
        const auto byte = [&](std::size_t n) { return static_cast<unsigned char>((*text)[n]); };
        if (i + 2 < text->size() && byte(i) == 0xef && byte(i + 1) >> 2 == 0x9c >> 2) {
            result += static_cast<char>((byte(i + 1) & 3) << 6 | (byte(i + 2) & 0x3f));
            i += 2;
        } else {
            result += (*text)[i];
        }
    }
    return result;
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
    if (next_ && refresh == refreshes_) watch_ = std::move(next_);
    changed_();
}

pw_metadata* PipeWireMetadata::proxy() const noexcept { return watch_->proxy; }

std::optional<std::string> PipeWireMetadata::value(std::string_view key) const {
    const auto found = watch_->values.find(key);
    return found == watch_->values.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> PipeWireMetadata::name(std::string_view key) const {
    const auto found = watch_->values.find(key);
    if (found == watch_->values.end()) return std::nullopt;
    auto name = memberName(found->second);
    if (!name) name = unescapedBytes(memberName(escapedBytes(found->second)));
    return name;
}

void PipeWireMetadata::set(std::string_view key, std::string_view type, std::string_view value,
                           uint32_t subject) {
    if (!proxy()) return;
    pw_metadata_set_property(proxy(), subject, std::string(key).c_str(),
                             type.empty() ? nullptr : std::string(type).c_str(), std::string(value).c_str());
}

void PipeWireMetadata::setName(std::string_view key, std::string_view name) {
    // The server's own writer: it leaves bytes as they are, because a device's name need not be valid UTF-8.
    const std::string text(name);
    std::vector<char> quoted(text.size() * 6 + 3);
    spa_json_encode_string(quoted.data(), static_cast<int>(quoted.size()), text.c_str());
    set(key, "Spa:String:JSON", "{ \"name\": " + std::string(quoted.data()) + " }");
}

void PipeWireMetadata::remove(std::string_view key, uint32_t subject) {
    if (proxy()) pw_metadata_set_property(proxy(), subject, std::string(key).c_str(), nullptr, nullptr);
}

} // namespace velto
