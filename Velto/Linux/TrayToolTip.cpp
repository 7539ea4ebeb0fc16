#include "Velto/Linux/TrayToolTip.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QScreen>
#include <QStyleHints>

#include <algorithm>
#include <chrono>

namespace velto {

namespace {

constexpr int margin = 6; // around the text, and between it and the item, in pixels
constexpr int howToDraw = Qt::AlignCenter | Qt::TextWordWrap | Qt::TextWrapAnywhere;
/// A pointer that is left on the item doesn't read any more.
constexpr std::chrono::seconds readingTime{10};

} // namespace

TrayToolTip::TrayToolTip() {
    setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus |
             Qt::WindowTransparentForInput);
    delay_.setSingleShot(true);
    delay_.setInterval(QGuiApplication::styleHints()->mousePressAndHoldInterval());
    connect(&delay_, &QTimer::timeout, this, [this] {
        fit();
        show();
        reading_.start();
    });
    reading_.setSingleShot(true);
    reading_.setInterval(readingTime);
    connect(&reading_, &QTimer::timeout, this, &TrayToolTip::vanish);
}

void TrayToolTip::setText(const QString& text) {
    text_ = text;
    if (!isVisible()) return;
    fit();
    update();
}

void TrayToolTip::showBeside(const QRect& item) {
    item_ = item;
    if (!isVisible() && !text_.isEmpty()) delay_.start();
}

void TrayToolTip::vanish() {
    delay_.stop();
    reading_.stop();
    hide();
}

void TrayToolTip::fit() {
    const QFontMetrics metrics(QGuiApplication::font());
    const QScreen* screen = QGuiApplication::screenAt(item_.center());
    const QRect all = screen ? screen->geometry() : QGuiApplication::primaryScreen()->geometry();
    const QSize widest(all.width() - 2 * margin, all.height());
    const QSize size =
        metrics.boundingRect(QRect({}, widest), howToDraw, text_).size() + QSize(2 * margin, margin);
    const bool isAtTop = item_.center().y() < all.center().y();
    const int x = std::clamp(item_.center().x() - size.width() / 2, all.left(),
                             std::max(all.left(), all.right() - size.width()));
    setGeometry({{x, isAtTop ? item_.bottom() + margin : item_.top() - margin - size.height()}, size});
}

void TrayToolTip::paintEvent(QPaintEvent*) {
    const QPalette palette = QGuiApplication::palette();
    QPainter painter(this);
    painter.fillRect(QRect({}, size()), palette.color(QPalette::ToolTipBase));
    painter.setPen(palette.color(QPalette::ToolTipText));
    painter.drawRect(QRect(0, 0, width() - 1, height() - 1));
    painter.drawText(QRect(QPoint(margin, 0), size() - QSize(2 * margin, 0)), howToDraw, text_);
}

} // namespace velto
