#include "VeltoCore/Foundation/UUID.h"

#include <uuid/uuid.h>

namespace velto {

UUID UUID::random() {
    UUID result;
    uuid_generate_random(result.bytes_.data());
    return result;
}

std::optional<UUID> UUID::fromString(std::string_view text) {
    if (text.size() != 36) return std::nullopt;
    UUID result;
    if (uuid_parse(std::string(text).c_str(), result.bytes_.data()) != 0) return std::nullopt;
    return result;
}

std::string UUID::string() const {
    std::array<char, 37> text{};
    uuid_unparse_upper(bytes_.data(), text.data());
    return text.data();
}

} // namespace velto
