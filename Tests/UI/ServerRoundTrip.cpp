#include "Tests/UI/ServerRoundTrip.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdint>

namespace velto {

namespace {

class Echo final : public QAbstractNativeEventFilter {
  public:
    explicit Echo(xcb_connection_t* connection)
        : connection_(connection), window_(xcb_generate_id(connection)) {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        xcb_create_window(connection, 0, window_, root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        qApp->installNativeEventFilter(this);
    }
    ~Echo() override {
        qApp->removeNativeEventFilter(this);
        xcb_destroy_window(connection_, window_);
    }

    /// Sent to the window's creator: the program.
    void send() {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window_;
        message.type = XCB_ATOM_STRING;
        xcb_send_event(connection_, 0, window_, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&message));
        xcb_flush(connection_);
    }
    bool isHeard() const noexcept { return isHeard_; }

    bool nativeEventFilter(const QByteArray&, void* event, qintptr*) override {
        const auto* message = static_cast<const xcb_client_message_event_t*>(event);
        isHeard_ =
            isHeard_ || ((message->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message->window == window_);
        return false;
    }

  private:
    xcb_connection_t* connection_;
    xcb_window_t window_;
    bool isHeard_ = false;
};

} // namespace

void awaitServer() {
    Echo echo(qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection());
    echo.send();
    while (!echo.isHeard())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

} // namespace velto
