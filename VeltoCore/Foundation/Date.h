// Date: a point on the wall clock.
#pragma once

#include <compare>

namespace velto {

struct Date {
    /// Seconds since 2001-01-01 00:00:00 UTC; this is also the stored form.
    double secondsSinceReferenceDate = 0;

    /// Seconds from `earlier` to this date; negative when this one is the earlier.
    double timeIntervalSince(Date earlier) const noexcept {
        return secondsSinceReferenceDate - earlier.secondsSinceReferenceDate;
    }
    friend auto operator<=>(const Date&, const Date&) = default;
};

/// The reference date in seconds since 1970-01-01 00:00:00 UTC.
inline constexpr double referenceDateInUnixSeconds = 978307200.0;

} // namespace velto
