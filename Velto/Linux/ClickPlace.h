// Where a click on the status item was, on desktops that count pixels in their own way.
#pragma once

#include <QPoint>
#include <QRect>

#include <optional>
#include <vector>

namespace velto {

struct ScaledScreen {
    /// As the program sees it.
    QRect geometry;
    /// How many pixels of the hardware one of the program's is.
    double scale = 1;

    /// Those of the desktop that the program runs on.
    static std::vector<ScaledScreen> all();
};

/// The place in the program's pixels. Most desktops tell it in the hardware's, some in their toolkit's: which
/// one it is, is told by where the pointer is, as far as that is known.
QPoint clickPlace(QPoint told, std::optional<QPoint> pointer, const std::vector<ScaledScreen>& screens);

} // namespace velto
