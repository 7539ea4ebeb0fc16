#include "Velto/Linux/ClickPlace.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace velto {

namespace {

constexpr int largestToolkitScale = 4;
/// Desktops offer scales in quarters.
constexpr int scaleSteps = 4;
/// How far from the pointer desktops may say that an item was clicked, which tell where it begins. In pixels.
constexpr int itemLength = 100;

/// None where the place is on none of the screens.
std::optional<QPoint> onScreen(QPoint told, const std::vector<ScaledScreen>& screens, double furtherScale) {
    for (const auto& [geometry, scale] : screens) {
        const double whole = scale * furtherScale;
        const QRect onHardware(geometry.topLeft(), geometry.size() * whole);
        if (onHardware.contains(told)) return geometry.topLeft() + (told - geometry.topLeft()) / whole;
    }
    return std::nullopt;
}

/// A Wayland desktop may enlarge all that X11 draws, without telling X11. Then items in a bar at the far edge
/// are beyond all screens, up to the scale that the desktop has.
QPoint fromHardware(QPoint told, const std::vector<ScaledScreen>& screens) {
    for (int steps = scaleSteps; steps <= largestToolkitScale * scaleSteps; ++steps)
        if (const auto place = onScreen(told, screens, static_cast<double>(steps) / scaleSteps))
            return *place;
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
