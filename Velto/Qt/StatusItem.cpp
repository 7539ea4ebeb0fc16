#include "Velto/Qt/StatusItem.h"

#include "Velto/Qt/NotifierStatusItem.h"
#include "Velto/Qt/TrayStatusItem.h"

#include <utility>

namespace velto {

std::vector<StatusItem::MenuEntry> StatusItem::menuEntries(const Handlers& handlers) {
    return {{QStringLiteral("Open Velto"), [&handlers] { handlers.activated({}); }},
            {QStringLiteral("Settings…"), [&handlers] { handlers.settingsChosen(); }},
            {},
            {QStringLiteral("Quit Velto"), [&handlers] { handlers.quitChosen(); }}};
}

std::unique_ptr<StatusItem> makeStatusItem(StatusArea::Kind kind, StatusItem::Handlers handlers) {
    switch (kind) {
    case StatusArea::Kind::none:
        break;
    case StatusArea::Kind::notifier:
        return std::make_unique<NotifierStatusItem>(std::move(handlers));
    case StatusArea::Kind::tray:
        return std::make_unique<TrayStatusItem>(std::move(handlers));
    }
    return nullptr;
}

} // namespace velto
