// MenuBarStatusArea: the menu bar, which is always there, as the place of the program's status item.
//
// Owned by VeltoApplication; main actor only. The item itself is MenuBarItem.
#pragma once

#include "Velto/Qt/StatusItem.h"

#include <memory>

namespace velto {

class MenuBarStatusArea final : public StatusArea {
  public:
    std::unique_ptr<StatusItem> makeStatusItem(StatusItem::Handlers handlers) override;
};

} // namespace velto
