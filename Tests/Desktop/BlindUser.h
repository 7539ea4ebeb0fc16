// BlindUser: somebody who uses a program by nothing but what it tells a screen reader, over AT-SPI.
//
// On the session bus of the tests it is what programs look for there: the accessibility bus's address, its
// registry, and a reader that listens. Controls are found by role and name, in the window of that title; what
// is not there yet is waited for. What is missing at last throws std::runtime_error with what there is.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <optional>
#include <vector>

namespace velto {

/// By their numbers in AT-SPI.
enum class SpokenRole : uint {
    checkBox = 7,
    comboBox = 11,
    window = 23,
    label = 29,
    list = 31,
    listItem = 32,
    pageTab = 37,
    group = 39,
    button = 43,
    slider = 51,
    textField = 61,
    heading = 83,
    notification = 101,
};

class BlindUser final : public QDBusVirtualObject {
    Q_OBJECT

  public:
    BlindUser();
    ~BlindUser() override;

    struct Control {
        QString path;
        SpokenRole role{};
        QString name{};
        QString description{};
        quint64 states = 0;
        bool isEnabled() const { return has(24); }
        bool isSelected() const { return has(23); }
        bool isChecked() const { return has(4); }
        bool isShowing() const { return has(25); }

      private:
        bool has(int state) const { return states & (1ULL << state); }
    };
    struct Range {
        double minimum = 0;
        double value = 0;
        double maximum = 0;
    };

    /// All of the window from the top, as it is read out; those that can't be seen are left out.
    std::vector<Control> read(const QString& window);
    Control find(const QString& window, SpokenRole role, const QString& name);
    bool has(const QString& window, SpokenRole role, const QString& name);
    void waitUntilGone(const QString& window, SpokenRole role, const QString& name);
    /// Such as "Press", "Toggle", "Increase".
    void act(const Control& control, const QString& action = QStringLiteral("Press"));
    Range range(const Control& slider);
    void setValue(const Control& slider, double value);
    /// Waits until the keyboard, or what it moves, is on the control of that name.
    void waitUntilAt(SpokenRole role, const QString& name);
    /// Waits until something with these words is said aloud; forgets what was said up to there.
    QString hear(const QString& words);

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString&) const override { return {}; }

  private Q_SLOTS:
    void stateChanged(const QDBusMessage& message);

  private:
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments = {});
    QVariant property(const QString& path, const QString& interface, const QString& name);
    std::vector<QString> children(const QString& path);
    Control control(const QString& path);
    void readInto(const QString& path, std::vector<Control>& controls);
    QString windowPath(const QString& title);
    std::optional<Control> seek(const QString& window, SpokenRole role, const QString& name);
    void takeSaid();
    void waitUntil(const std::function<bool()>& condition, const std::function<QString()>& complaint);

    QDBusConnection bus_;
    QString program_;      // its name on the bus, once it has registered
    QString place_;        // path of what has the keyboard
    QStringList appeared_; // paths of what has been shown, and was not looked at yet
    QStringList said_;
    int changes_ = 0;
};

} // namespace velto
