#include "Tests/Contract/ApplicationHostUnderTest.h"

#include "Platform/Linux/LinuxApplicationHost.h"

#include <QClipboard>
#include <QGuiApplication>

#include <functional>
#include <utility>

namespace velto {

namespace {

/// A machine that sleeps when the test says so.
class ScriptedSleepMonitor final : public SleepMonitor {
  public:
    void observe(SleepObserver observer) override { observer_ = std::move(observer); }
    void fallAsleep() const {
        if (observer_.willSleep) observer_.willSleep();
    }
    void wake() const {
        if (observer_.didWake) observer_.didWake();
    }

  private:
    SleepObserver observer_;
};

/// Qt without a display and without a bus.
class LinuxApplicationHostUnderTest final : public ApplicationHostUnderTest {
  public:
    LinuxApplicationHostUnderTest() {
        host_.setHandlers({.terminate = {}, .copy = [](std::string_view text) {
                               QGuiApplication::clipboard()->setText(
                                   QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
                           }});
    }
    ApplicationHost& host() override { return host_; }
    void fallAsleep() override { sleep_.fallAsleep(); }
    void wake() override { sleep_.wake(); }
    std::string pasteboardText() override { return QGuiApplication::clipboard()->text().toStdString(); }
    std::optional<std::string> builtWith(std::string_view bundleKey) override {
        if (bundleKey == "CFBundleShortVersionString") return VELTO_VERSION;
        if (bundleKey == "CFBundleVersion") return VELTO_BUILD_NUMBER;
        return std::nullopt;
    }

  private:
    struct Environment {
        Environment() {
            qputenv("QT_QPA_PLATFORM", "offscreen");
            qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        }
    };

    Environment environment_;
    int argumentCount_ = 1;
    char name_[6] = "tests";
    char* arguments_[2] = {name_, nullptr};
    QGuiApplication application_{argumentCount_, arguments_};
    ScriptedSleepMonitor sleep_;
    LinuxApplicationHost host_{sleep_};
};

} // namespace

std::unique_ptr<ApplicationHostUnderTest> makeApplicationHostUnderTest() {
    return std::make_unique<LinuxApplicationHostUnderTest>();
}

} // namespace velto
