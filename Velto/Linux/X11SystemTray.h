// X11SystemTray: whether an X11 desktop has an XEmbed tray, kept up to date by the server's own events.
//
// Owned by DesktopStatusArea; main actor only. On a desktop without X11 there is never one.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>

#include <cstdint>
#include <functional>

namespace velto {

class X11SystemTray final : public QAbstractNativeEventFilter {
  public:
    /// The handler is called when a tray has come or gone, from within the server's event.
    explicit X11SystemTray(std::function<void()> changed);
    ~X11SystemTray() override;

    bool isPresent() const noexcept { return window_ != 0; }
    /// 0 for none.
    std::uint32_t window() const noexcept { return window_; }

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

  private:
    void findWindow();

    std::function<void()> changed_;
    std::uint32_t selection_ = 0; // the atom that the tray owns; none without X11
    std::uint32_t manager_ = 0;   // the atom of the message by which a new owner makes itself known
    std::uint32_t window_ = 0;    // the tray's; none while there is no tray
};

} // namespace velto
