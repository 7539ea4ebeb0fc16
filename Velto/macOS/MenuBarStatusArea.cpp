#include "Velto/macOS/MenuBarStatusArea.h"

#include "Platform/macOS/MenuBarItem.h"

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
                                                 .menu = [this] { return menu(); }}) {}

    void setLook(const Look& look) override {
        item_.setLabel(symbolName(look.form), look.accessibilityText.toStdString(),
                       look.toolTip.toStdString());
    }
    QRect place() const override {
        const MenuBarItem::Place place = item_.place();
        return QRectF(place.x, place.y, place.width, place.height).toRect();
    }

  private:
    std::vector<MenuBarItem::MenuEntry> menu() const {
        std::vector<MenuBarItem::MenuEntry> result;
        for (StatusMenuEntry& entry : handlers_.menu())
            result.push_back({.label = std::move(entry.label),
                              .isEnabled = entry.isEnabled,
                              .isChecked = entry.isChecked.value_or(false),
                              .chosen = std::move(entry.chosen)});
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
