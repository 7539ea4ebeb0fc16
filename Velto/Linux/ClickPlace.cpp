#include "Velto/Linux/ClickPlace.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace velto {

namespace {

constexpr int largestToolkitScale = 4;
/// How far from the pointer desktops may say that an item was clicked, which tell where it begins. In pixels.
constexpr int itemLength = 100;

QPoint fromHardware(QPoint told, const std::vector<ScaledScreen>& screens) {
    for (const auto& [geometry, scale] : screens) {
        const QRect onHardware(geometry.topLeft(), geometry.size() * scale);
        if (onHardware.contains(told)) return geometry.topLeft() + (told - geometry.topLeft()) / scale;
    }
    return told;
}

} // namespace

std::vector<ScaledScreen> ScaledScreen::all() {
    std::vector<ScaledScreen> result;
    for (const QScreen* screen : QGuiApplication::screens())
        result.push_back({screen->geometry(), screen->devicePixelRatio()});
    return result;
}

QPoint clickPlace(QPoint told, std::optional<QPoint> pointer, const std::vector<ScaledScreen>& screens) {
    const QPoint likely = fromHardware(told, screens);
    if (!pointer) return likely;
    std::vector<QPoint> readings{likely};
    for (int scale = 1; scale <= largestToolkitScale; ++scale) {
        readings.push_back(told * scale);
        readings.push_back(fromHardware(told * scale, screens));
    }
    const auto distance = [&](QPoint place) { return (place - *pointer).manhattanLength(); };
    const QPoint nearest = *std::ranges::min_element(readings, {}, distance);
    return distance(nearest) <= itemLength ? nearest : likely;
}

} // namespace velto
