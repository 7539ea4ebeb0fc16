#include "Tests/Contract/LoginItemUnderTest.h"

#include "Platform/Linux/XdgAutostart.h"
#include "Tools/SoundLab/OwnedFolder.h"

namespace velto {

std::unique_ptr<LoginItemService> makeLoginItemOfProgramNotInstalled() {
    static const OwnedFolder folder("velto-contract"); // not the user's own entries
    return std::make_unique<XdgAutostart>(XdgAutostart::runningProgram(), folder.path() / "velto.desktop");
}

} // namespace velto
