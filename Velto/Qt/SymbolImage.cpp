#include "Velto/Qt/SymbolImage.h"

#include "Velto/Qt/Text.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

#include <utility>

namespace velto {

namespace {

QImage shippedImage(const QString& name, const QSize& size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const QString file = QStringLiteral(":/velto/%1.svg").arg(name);
    if (!QFile::exists(file)) return image;
    QSvgRenderer drawing(file);
    QPainter painter(&image);
    drawing.render(&painter, QRectF(QPointF(), size));
    return image;
}

QImage tinted(QImage image, const QColor& color) {
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    return image;
}

} // namespace

QImage symbolImage(const QString& name, const QColor& color, const QSize& size) {
    QImage image = systemSymbolImage(name, size);
    if (image.isNull()) image = shippedImage(QStringLiteral("symbols/") + name, size);
    return tinted(std::move(image), color);
}

QImage statusImage(StatusItemForm form, const QColor& color, const QSize& size) {
    return tinted(shippedImage(QStringLiteral("status/") + toQString(drawingName(form)), size), color);
}

QIcon statusIcon(StatusItemForm form, const QColor& color) {
    QIcon icon;
    for (const int side : {16, 22, 24, 32, 48})
        icon.addPixmap(QPixmap::fromImage(statusImage(form, color, {side, side})));
    return icon;
}

} // namespace velto
