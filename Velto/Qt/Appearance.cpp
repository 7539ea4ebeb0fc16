#include "Velto/Qt/Appearance.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velto {

namespace {

constexpr double readableContrast = 4.5;
constexpr double usualFontSize = 10; // in points
constexpr double smallestScale = 0.85;
constexpr double largestScale = 1.4; // what the rows have room for
/// A colour with less of it to white is a bright one.
constexpr double brightContrast = 2.5;
constexpr QColor darkText(0x1d, 0x1d, 0x1f);
/// What Qt's palette has where no desktop says anything.
constexpr QColor paletteWithoutDesktop(0x30, 0x8c, 0xc6);
constexpr QColor ownAccent(0x2f, 0x6b, 0xe8);

double luminance(const QColor& color) {
    const auto linear = [](float channel) {
        const double value = static_cast<double>(channel);
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// The colour, as much darker or lighter as the ground demands.
QColor readableOn(QColor color, const QColor& ground) {
    const bool isOnDark = luminance(ground) < 0.18;
    for (int step = 0; step < 40 && Appearance::contrast(color, ground) < readableContrast; ++step) {
        float hue = 0, saturation = 0, lightness = 0;
        color.getHslF(&hue, &saturation, &lightness);
        lightness = std::clamp(lightness + (isOnDark ? 0.02F : -0.02F), 0.0F, 1.0F);
        color = QColor::fromHslF(std::max(hue, 0.0F), saturation, lightness);
    }
    return color;
}

} // namespace

Appearance::Appearance() : desktop_(makeDesktopAppearance([this] { Q_EMIT changed(); })) {
    qApp->installEventFilter(this);
}

double Appearance::contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

bool Appearance::isDark() const {
    if (overruled_.isDark) return *overruled_.isDark;
    if (const auto wish = desktop_->isDark()) return *wish;
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF();
}

QColor Appearance::chosenAccent() const {
    if (overruled_.accent) return *overruled_.accent;
    if (const auto wish = desktop_->accent()) return *wish;
    const QColor highlight = QGuiApplication::palette().color(QPalette::Highlight);
    return highlight == paletteWithoutDesktop ? ownAccent : highlight;
}

/// Yellow that is dark enough for white text is no yellow any more.
QColor Appearance::accent() const {
    const QColor chosen = chosenAccent();
    return contrast(chosen, Qt::white) < brightContrast ? chosen : readableOn(chosen, Qt::white);
}

QColor Appearance::accentText() const {
    return contrast(accent(), Qt::white) < readableContrast ? darkText : QColor(Qt::white);
}

QColor Appearance::accentInk() const {
    return readableOn(chosenAccent(), isDark() ? QColor(0x50, 0x50, 0x56) : QColor(0xe8, 0xe8, 0xec));
}

bool Appearance::reducesMotion() const {
    if (overruled_.reducesMotion) return *overruled_.reducesMotion;
    return desktop_->reducesMotion().value_or(false);
}

double Appearance::fontScale() const {
    const auto size = overruled_.fontSize ? overruled_.fontSize : desktop_->fontSize();
    return std::clamp(size.value_or(usualFontSize) / usualFontSize, smallestScale, largestScale);
}

bool Appearance::isComposited() const {
    return overruled_.isComposited ? *overruled_.isComposited : desktop_->isComposited();
}

void Appearance::overrule(Wishes wishes) {
    if (overruled_ == wishes) return;
    overruled_ = wishes;
    Q_EMIT changed();
}

bool Appearance::eventFilter(QObject* object, QEvent* event) {
    if (object == qApp && event->type() == QEvent::ApplicationPaletteChange) Q_EMIT changed();
    return false;
}

} // namespace velto
