#include "Platform/macOS/SystemSymbol.h"
#include "Velto/Qt/SymbolImage.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace velto {

QImage systemSymbolImage(const QString& name, const QSize& size) {
    const std::vector<std::uint8_t> coverage =
        systemSymbolCoverage(name.toStdString(), size.width(), size.height());
    if (coverage.empty()) return {};
    QImage image(size, QImage::Format_Alpha8);
    const auto width = static_cast<std::size_t>(size.width());
    for (int row = 0; row < size.height(); ++row)
        std::memcpy(image.scanLine(row), coverage.data() + static_cast<std::size_t>(row) * width, width);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace velto
