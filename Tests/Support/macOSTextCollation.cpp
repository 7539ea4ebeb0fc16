#include "Tests/Support/PlatformTextCollation.h"

#include "Platform/macOS/FoundationTextCollation.h"

namespace velto {

std::unique_ptr<TextCollation> makePlatformTextCollation() { return std::make_unique<FoundationTextCollation>(); }

} // namespace velto
