#include "Tests/Contract/MainActorUnderTest.h"

#include "Platform/macOS/DispatchMainActor.h"
#include "Tests/Contract/RealLoop.h"

namespace velto {

std::unique_ptr<MainActorUnderTest> makeMainActorUnderTest() {
    return std::make_unique<RealLoop<DispatchMainActor>>();
}

} // namespace velto
