#include "Tests/Contract/LoginItemUnderTest.h"

#include "Platform/macOS/MainAppLoginItem.h"

namespace velto {

std::unique_ptr<LoginItemService> makeLoginItemOfProgramNotInstalled() {
    return std::make_unique<MainAppLoginItem>(); // the test program is in no bundle
}

} // namespace velto
