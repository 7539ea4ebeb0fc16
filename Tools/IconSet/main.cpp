// velto-icon-set: draws the application's icon in every size that macOS asks for.
//
// velto-icon-set DRAWING SMALL-DRAWING FOLDER: the second drawing is for pictures of up to 32 pixels, where
// the first one's lines would be lost. iconutil makes a file of the folder. Needs no display.
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

namespace {

constexpr int largestSmallPicture = 32;

std::runtime_error failure(const char* what, const QString& path) {
    return std::runtime_error(what + path.toStdString());
}

void load(QSvgRenderer& drawing, const QString& path) {
    if (!drawing.load(path)) throw failure("This is no drawing: ", path);
}

void draw(QSvgRenderer& drawing, int pixels, const QString& path) {
    QImage picture(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    drawing.render(&painter, picture.rect());
    painter.end();
    if (!picture.save(path, "PNG")) throw failure("This can't be written: ", path);
}

void drawIconSet(const QString& drawingPath, const QString& smallDrawingPath, const QString& folder) {
    QSvgRenderer drawing;
    QSvgRenderer smallDrawing;
    load(drawing, drawingPath);
    load(smallDrawing, smallDrawingPath);
    if (!QDir().mkpath(folder)) throw failure("This folder can't be made: ", folder);

    for (const int points : {16, 32, 128, 256, 512})
        for (const int scale : {1, 2}) {
            const int pixels = points * scale;
            const QString name = QStringLiteral("icon_%1x%1%2.png").arg(points).arg(scale == 1 ? "" : "@2x");
            draw(pixels <= largestSmallPicture ? smallDrawing : drawing, pixels, QDir(folder).filePath(name));
        }
}

} // namespace

int main(int count, char** arguments) {
    if (count != 4) {
        std::fputs("usage: velto-icon-set DRAWING SMALL-DRAWING FOLDER\n", stderr);
        return 2;
    }
    try {
        drawIconSet(QString::fromLocal8Bit(arguments[1]), QString::fromLocal8Bit(arguments[2]),
                    QString::fromLocal8Bit(arguments[3]));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-icon-set: %s\n", error.what());
        return 1;
    }
}
