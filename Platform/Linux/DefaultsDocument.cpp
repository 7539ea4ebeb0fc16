#include "Platform/Linux/DefaultsDocument.h"

#include "Platform/Linux/Base64.h"
#include "Platform/Linux/JSONText.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <utility>

namespace velto {

using nlohmann::json;

namespace {

constexpr std::string_view jsonTag = "json";
constexpr std::string_view dataTag = "data";
/// Around bytes that stand as JSON: the document, and the object with the tag.
constexpr int nestingAround = 2;

std::string text(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

struct Encode {
    std::string operator()(const Data& data) const {
        const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
        if (JSONText::isValid(bytes, DefaultsDocument::deepestNesting - nestingAround) &&
            JSONText::compact(bytes) == bytes)
            return fmt::format(R"({{"{}":{}}})", jsonTag, bytes);
        return fmt::format(R"({{"{}":"{}"}})", dataTag, base64::encoded(data));
    }
    std::string operator()(const auto& plain) const { return text(plain); }
};

std::optional<Data> decodedData(std::string_view entry) {
    const auto fields = JSONText::fields(entry);
    if (fields.size() != 1) return std::nullopt;
    const auto& [tag, content] = fields.front();
    if (tag == jsonTag) return Data(content.begin(), content.end());
    const json text = json::parse(content.begin(), content.end());
    return tag == dataTag && text.is_string() ? base64::decoded(text.get_ref<const std::string&>())
                                              : std::nullopt;
}

/// None for a value of a kind that this program never stores.
std::optional<DefaultsValue> decoded(std::string_view entry) {
    if (entry.starts_with('{')) return decodedData(entry);
    if (entry.starts_with('[')) return std::nullopt;
    const json value = json::parse(entry.begin(), entry.end());
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{INT64_MAX})
        return std::nullopt;
    if (value.is_number_integer()) return value.get<std::int64_t>();
    if (value.is_number_float()) return value.get<double>();
    if (value.is_string()) return value.get<std::string>();
    return std::nullopt;
}

/// Of a line of the object, with all that is around key and value.
std::size_t size(std::string_view key, std::string_view entry) { return key.size() + entry.size() + 2; }

} // namespace

std::optional<DefaultsDocument> DefaultsDocument::parse(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.size() > largestSize) return std::nullopt;
    if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
    if (!JSONText::isValid(text, deepestNesting)) return std::nullopt;
    const std::string object = JSONText::compact(text);
    if (!object.starts_with('{')) return std::nullopt;

    DefaultsDocument document;
    for (const auto& [key, entry] : JSONText::fields(object)) {
        // Earlier versions wrote all bytes as base64.
        const auto data = entry.starts_with('{') ? decodedData(entry) : std::nullopt;
        document.entries_[key] = data ? Encode()(*data) : std::string(entry);
    }
    return document;
}

std::string DefaultsDocument::compactText() const {
    std::string object = "{";
    for (const auto& [key, entry] : entries_)
        object += (object.size() > 1 ? "," : "") + velto::text(key) + ':' + entry;
    return object + "}\n";
}

std::string DefaultsDocument::text() const {
    std::string compact = compactText();
    std::string indented =
        JSONText::indented(std::string_view(compact).substr(0, compact.size() - 1), 0) + '\n';
    return indented.size() <= largestSize ? std::move(indented) : std::move(compact);
}

std::optional<DefaultsValue> DefaultsDocument::value(std::string_view key) const {
    const auto found = entries_.find(key);
    return found == entries_.end() ? std::nullopt : decoded(found->second);
}

DefaultsDocument::Change DefaultsDocument::set(std::string_view key, const DefaultsValue& value) {
    std::string entry = std::visit(Encode{}, value);
    if (const auto found = entries_.find(key); found != entries_.end() && found->second == entry)
        return Change::none;
    std::size_t whole = std::string_view("{\n").size() + size(velto::text(key), entry);
    for (const auto& [otherKey, other] : entries_)
        if (otherKey != key) whole += size(velto::text(otherKey), other);
    if (whole > largestSize) return Change::refused;
    entries_.insert_or_assign(std::string(key), std::move(entry));
    return Change::made;
}

bool DefaultsDocument::remove(std::string_view key) {
    const auto found = entries_.find(key);
    if (found == entries_.end()) return false;
    entries_.erase(found);
    return true;
}

} // namespace velto
