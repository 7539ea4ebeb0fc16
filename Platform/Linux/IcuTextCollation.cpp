#include "Platform/Linux/IcuTextCollation.h"

#include <unicode/ucol.h>
#include <unicode/uloc.h>

#include <cstdint>

namespace velto {

namespace {

/// Null for the process's locale. The C locale orders by code point, capitals first: no order for a reader.
const char* readersLocale() { return std::string_view(uloc_getDefault()).ends_with("_POSIX") ? "" : nullptr; }

} // namespace

IcuTextCollation::IcuTextCollation() {
    UErrorCode status = U_ZERO_ERROR;
    collator_.reset(ucol_open(readersLocale(), &status));
    if (!collator_) return;
    status = U_ZERO_ERROR;
    ucol_setAttribute(collator_.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
    // Secondary strength: accents count, letter case doesn't.
    ucol_setStrength(collator_.get(), UCOL_SECONDARY);
}

IcuTextCollation::~IcuTextCollation() = default;

void IcuTextCollation::Close::operator()(UCollator* collator) const noexcept { ucol_close(collator); }

int IcuTextCollation::compare(std::string_view first, std::string_view second) const {
    if (!collator_) return first.compare(second);
    UErrorCode status = U_ZERO_ERROR;
    return ucol_strcollUTF8(collator_.get(), first.data(), static_cast<std::int32_t>(first.size()),
                            second.data(), static_cast<std::int32_t>(second.size()), &status);
}

} // namespace velto
