#include "Platform/Linux/DefaultsDocument.h"

#include <QByteArray>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <utility>

namespace velto {

using nlohmann::json;

namespace {

constexpr int deepestNesting = 32;
/// Stands for bytes, which JSON can't hold: {"data": "<base64>"}.
constexpr const char* dataTag = "data";

struct Encode {
    json operator()(const Data& data) const {
        const QByteArray bytes(reinterpret_cast<const char*>(data.data()),
                               static_cast<qsizetype>(data.size()));
        return {{dataTag, bytes.toBase64().toStdString()}};
    }
    json operator()(const auto& plain) const { return plain; }
};

/// None for a value of a kind that this program never stores.
std::optional<DefaultsValue> decoded(const json& value) {
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{INT64_MAX})
        return std::nullopt;
    if (value.is_number_integer()) return value.get<std::int64_t>();
    if (value.is_number_float()) return value.get<double>();
    if (value.is_string()) return value.get<std::string>();
    if (!value.is_object() || value.size() != 1 || !value.contains(dataTag)) return std::nullopt;
    const json& text = value.at(dataTag);
    if (!text.is_string()) return std::nullopt;
    const auto bytes = QByteArray::fromBase64Encoding(QByteArray::fromStdString(text.get<std::string>()),
                                                      QByteArray::AbortOnBase64DecodingErrors);
    if (bytes.decodingStatus != QByteArray::Base64DecodingStatus::Ok) return std::nullopt;
    return Data(bytes.decoded.begin(), bytes.decoded.end());
}

} // namespace

struct DefaultsDocument::Tree {
    json root = json::object();
};

DefaultsDocument::DefaultsDocument() : tree_(std::make_unique<Tree>()) {}
DefaultsDocument::DefaultsDocument(DefaultsDocument&& other) noexcept = default;
DefaultsDocument& DefaultsDocument::operator=(DefaultsDocument&& other) noexcept = default;
DefaultsDocument::~DefaultsDocument() = default;

std::optional<DefaultsDocument> DefaultsDocument::parse(std::string_view text) {
    bool isTooDeep = false;
    const auto limitDepth = [&](int depth, json::parse_event_t, json&) {
        isTooDeep = isTooDeep || depth > deepestNesting;
        return !isTooDeep;
    };
    json parsed = json::parse(text.begin(), text.end(), limitDepth, false);
    if (!parsed.is_object() || isTooDeep) return std::nullopt;
    DefaultsDocument document;
    document.tree_->root = std::move(parsed);
    return document;
}

std::string DefaultsDocument::text() const {
    return tree_->root.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

std::optional<DefaultsValue> DefaultsDocument::value(std::string_view key) const {
    const auto found = tree_->root.find(key);
    return found == tree_->root.end() ? std::nullopt : decoded(*found);
}

void DefaultsDocument::set(std::string_view key, const DefaultsValue& value) {
    tree_->root[std::string(key)] = std::visit(Encode{}, value);
}

bool DefaultsDocument::remove(std::string_view key) { return tree_->root.erase(std::string(key)) > 0; }

} // namespace velto
