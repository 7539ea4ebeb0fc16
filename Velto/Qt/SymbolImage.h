// The symbols that the program is shipped with, drawn in one colour.
#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QSize>
#include <QString>

namespace velto {

/// Transparent where the symbol isn't, and all over for a name that there is no symbol of.
QImage symbolImage(const QString& name, const QColor& color, const QSize& size);
/// In the sizes that status areas ask for.
QIcon symbolIcon(const QString& name, const QColor& color);

} // namespace velto
