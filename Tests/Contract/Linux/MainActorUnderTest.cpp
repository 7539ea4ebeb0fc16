#include "Tests/Contract/MainActorUnderTest.h"

#include "Platform/Linux/LinuxMainActor.h"
#include "Tests/Contract/RealLoop.h"

namespace velto {

std::unique_ptr<MainActorUnderTest> makeMainActorUnderTest() {
    return std::make_unique<RealLoop<LinuxMainActor>>();
}

} // namespace velto
