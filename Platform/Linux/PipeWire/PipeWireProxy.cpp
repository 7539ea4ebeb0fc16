#include "Platform/Linux/PipeWire/PipeWireProxy.h"

#include "Platform/Linux/PipeWire/PipeWireText.h"

#include <charconv>

namespace velto {

void mergeProperties(PipeWireProperties& into, const spa_dict* dictionary) {
    if (!dictionary) return;
    for (uint32_t i = 0; i < dictionary->n_items; ++i) {
        const spa_dict_item& item = dictionary->items[i];
        if (item.key && item.value) into.insert_or_assign(item.key, PipeWireText::fromServer(item.value));
    }
}

std::optional<std::string_view> property(const PipeWireProperties& properties, std::string_view key) {
    const auto found = properties.find(key);
    if (found == properties.end() || found->second.empty()) return std::nullopt;
    return found->second;
}

std::optional<uint32_t> numberProperty(const PipeWireProperties& properties, std::string_view key) {
    const auto text = property(properties, key);
    if (!text) return std::nullopt;
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc() || end != text->data() + text->size()) return std::nullopt;
    return number;
}

} // namespace velto
