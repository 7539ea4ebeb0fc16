#include "Tests/Support/PlatformTextCollation.h"

#include "Platform/Linux/IcuTextCollation.h"

namespace velto {

std::unique_ptr<TextCollation> makePlatformTextCollation() { return std::make_unique<IcuTextCollation>(); }

} // namespace velto
