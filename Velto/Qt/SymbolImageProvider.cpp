#include "Velto/Qt/SymbolImageProvider.h"

#include "Velto/Qt/SymbolImage.h"

#include <QColor>
#include <QPainter>
#include <QSvgRenderer>

namespace velto {

namespace {

QImage applicationIcon(const QSize& size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer drawing(QStringLiteral(":/velto/com.corlent.velto.svg"));
    QPainter painter(&image);
    drawing.render(&painter, QRectF(QPointF(), size));
    return image;
}

} // namespace

QImage SymbolImageProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    const QSize wanted = requestedSize.isEmpty() ? QSize(32, 32) : requestedSize;
    if (size) *size = wanted;
    if (id == QLatin1String("application-icon")) return applicationIcon(wanted);
    const auto slash = id.lastIndexOf(u'/');
    return symbolImage(id.left(slash), QColor(u'#' + id.mid(slash + 1)), wanted);
}

} // namespace velto
