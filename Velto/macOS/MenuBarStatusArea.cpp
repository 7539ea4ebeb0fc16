#include "Velto/macOS/MenuBarStatusArea.h"

#include "Platform/macOS/MenuBarItem.h"
#include "Velto/Qt/Text.h"

#include <QRectF>

#include <utility>
#include <vector>

namespace velto {

namespace {

class MenuBarStatusItem final : public StatusItem {
  public:
    explicit MenuBarStatusItem(Handlers handlers)
        : handlers_(std::move(handlers)), item_({.clicked = [this] { handlers_.activated(place()); },
                                                 .removed = handlers_.quitChosen,
                                                 .scrolled = handlers_.scrolled,
                                                 .menu = menu()}) {}

    void setLabel(const QString& symbol, const QString& accessibilityText) override {
        item_.setLabel(symbol.toStdString(), accessibilityText.toStdString());
    }
    QRect place() const override {
        const MenuBarItem::Place place = item_.place();
        return QRectF(place.x, place.y, place.width, place.height).toRect();
    }

  private:
    std::vector<MenuBarItem::MenuEntry> menu() const {
        std::vector<MenuBarItem::MenuEntry> result;
        for (MenuEntry& entry : menuEntries(handlers_))
            result.push_back({entry.label.toStdString(), std::move(entry.chosen)});
        return result;
    }

    Handlers handlers_;
    MenuBarItem item_;
};

} // namespace

std::unique_ptr<StatusItem> MenuBarStatusArea::makeStatusItem(StatusItem::Handlers handlers) {
    return std::make_unique<MenuBarStatusItem>(std::move(handlers));
}

} // namespace velto
