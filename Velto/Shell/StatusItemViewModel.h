// StatusItemViewModel: what the program's item in the status area shows, and what its menu offers.
//
// Owned by the application on a desktop; main actor only. It keeps nothing: all is read from the panel's
// model, whose observers are told when any of it may differ.
#pragma once

#include "Velto/Shell/MenuBarViewModel.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

/// Told apart at a glance, in one colour.
enum class StatusItemForm {
    idle,
    /// Both outputs play.
    playing,
    /// One of them is not there.
    missing,
    /// The same, and the user is asked what to do about it.
    asking,
};

/// The name of the system symbol, on platforms that have their own.
std::string_view symbolName(StatusItemForm form) noexcept;
/// As in the name of the file that it is drawn in, on the others.
std::string_view drawingName(StatusItemForm form) noexcept;

/// A line of the item's menu; a separator has no label.
struct StatusMenuEntry {
    /// Tells it from the others, also after the menu has changed.
    std::string key{};
    std::string label{};
    bool isEnabled = true;
    /// Absent for one that can't be checked.
    std::optional<bool> isChecked{};
    std::function<void()> chosen{};
};

class StatusItemViewModel {
  public:
    /// What only the desktop's half of the program can do.
    struct Actions {
        std::function<void()> open;
        std::function<void()> showSettings;
        std::function<void()> quit;
    };

    /// The model must outlive this one.
    explicit StatusItemViewModel(MenuBarViewModel& menuBar) : menuBar_(menuBar) {}

    StatusItemForm form() const;
    /// What is read out for the symbol.
    std::string_view accessibilityText() const;
    /// What plays and how loud, or why nothing does.
    std::string toolTip() const;
    /// As it is now. What its entries do holds as long as the model and the actions do.
    std::vector<StatusMenuEntry> menu(const Actions& actions) const;

  private:
    std::string outputNames() const;
    std::optional<std::string> volumeText() const;
    void addPlaying(std::vector<StatusMenuEntry>& menu) const;
    void addFavorites(std::vector<StatusMenuEntry>& menu) const;
    void addVolume(std::vector<StatusMenuEntry>& menu) const;

    MenuBarViewModel& menuBar_;
};

} // namespace velto
