// SymbolImageProvider: symbols for the views, by `image://symbol/NAME/AARRGGBB` or, without alpha, RRGGBB.
//
// Owned by the views' engine.
#pragma once

#include <QImage>
#include <QQuickImageProvider>
#include <QSize>
#include <QString>

namespace velto {

class SymbolImageProvider final : public QQuickImageProvider {
  public:
    SymbolImageProvider() : QQuickImageProvider(Image) {}
    /// `application-icon` is the program's own, in its own colours.
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace velto
