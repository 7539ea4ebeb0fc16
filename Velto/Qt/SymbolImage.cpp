#include "Velto/Qt/SymbolImage.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace velto {

namespace {

QImage shippedSymbolImage(const QString& name, const QSize& size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const QString file = QStringLiteral(":/velto/symbols/%1.svg").arg(name);
    if (!QFile::exists(file)) return image;
    QSvgRenderer drawing(file);
    QPainter painter(&image);
    drawing.render(&painter, QRectF(QPointF(), size));
    return image;
}

} // namespace

QImage symbolImage(const QString& name, const QColor& color, const QSize& size) {
    QImage image = systemSymbolImage(name, size);
    if (image.isNull()) image = shippedSymbolImage(name, size);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    return image;
}

QIcon symbolIcon(const QString& name, const QColor& color) {
    QIcon icon;
    for (const int side : {16, 22, 24, 32, 48})
        icon.addPixmap(QPixmap::fromImage(symbolImage(name, color, {side, side})));
    return icon;
}

} // namespace velto
