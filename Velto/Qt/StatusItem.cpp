#include "Velto/Qt/StatusItem.h"

namespace velto {

std::vector<StatusItem::MenuEntry> StatusItem::menuEntries(const Handlers& handlers) {
    return {{QStringLiteral("Open Velto"), [&handlers] { handlers.activated({}); }},
            {QStringLiteral("Settings…"), [&handlers] { handlers.settingsChosen(); }},
            {},
            {QStringLiteral("Quit Velto"), [&handlers] { handlers.quitChosen(); }}};
}

} // namespace velto
