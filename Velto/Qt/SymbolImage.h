// Symbols by their names, drawn in one colour.
#pragma once

#include "Velto/Shell/StatusItemViewModel.h"

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QSize>
#include <QString>

namespace velto {

/// The system's own drawing of the symbol, in any colour; null where the system has none of that name.
QImage systemSymbolImage(const QString& name, const QSize& size);

/// The system's own drawing, else the one that the program is shipped with, in the colour. Transparent where
/// the symbol isn't, and all over for a name that there is no symbol of.
QImage symbolImage(const QString& name, const QColor& color, const QSize& size);
/// The status item's own drawing.
QImage statusImage(StatusItemForm form, const QColor& color, const QSize& size);
/// The same in the sizes that status areas ask for.
QIcon statusIcon(StatusItemForm form, const QColor& color);

} // namespace velto
