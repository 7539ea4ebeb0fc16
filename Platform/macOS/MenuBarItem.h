// MenuBarItem: an item in the menu bar: a system symbol that can be clicked, scrolled over and removed.
//
// Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class MenuBarItem {
  public:
    /// On the desktop of all screens, in points, from the upper left corner of the first screen down.
    struct Place {
        double x = 0;
        double y = 0;
        double width = 0;
        double height = 0;
    };
    /// A separator has no label.
    struct MenuEntry {
        std::string label;
        bool isEnabled = true;
        bool isChecked = false;
        std::function<void()> chosen;
    };
    struct Handlers {
        std::function<void()> clicked;
        /// The user has dragged it out of the menu bar: a program that is nothing else is not wanted any
        /// more.
        std::function<void()> removed;
        /// Up is positive, one notch of a wheel is 1.
        std::function<void(double)> scrolled;
        /// What the menu has that a click with the second button, or with Control, shows; asked at each.
        std::function<std::vector<MenuEntry>()> menu;
    };

    explicit MenuBarItem(Handlers handlers);
    MenuBarItem(const MenuBarItem&) = delete;
    MenuBarItem& operator=(const MenuBarItem&) = delete;
    ~MenuBarItem();

    /// The name of a system symbol, what VoiceOver reads for it, and what is shown beside a pointer on it.
    void setLabel(std::string_view symbol, std::string_view accessibilityText, std::string_view toolTip);
    Place place() const;

  private:
    struct Item;
    std::unique_ptr<Item> item_;
};

} // namespace velto
