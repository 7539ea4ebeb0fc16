// UUID: a 128-bit identity, random unless it was read.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

class UUID {
  public:
    /// The nil UUID, all zero.
    UUID() = default;
    static UUID random();
    /// Reads the canonical 36-character form, in either letter case; none for anything else.
    static std::optional<UUID> fromString(std::string_view text);
    /// The canonical form in upper case.
    std::string string() const;

    friend bool operator==(const UUID&, const UUID&) = default;
    friend bool operator<(const UUID& first, const UUID& second) { return first.bytes_ < second.bytes_; }

  private:
    std::array<std::uint8_t, 16> bytes_{};
};

} // namespace velto
