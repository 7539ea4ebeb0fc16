#include "Tests/Desktop/BlindUser.h"

#include "Tests/Desktop/DesktopTest.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDeadlineTimer>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

/// Far more than anything takes on a machine that is busy.
constexpr std::chrono::seconds patience{60};
const QString connectionName = QStringLiteral("screen reader");
const QString root = QStringLiteral("/org/a11y/atspi/accessible/root");
const QString accessible = QStringLiteral("org.a11y.atspi.Accessible");
const QString valueInterface = QStringLiteral("org.a11y.atspi.Value");
const QString events = QStringLiteral("org.a11y.atspi.Event.Object");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");

/// (so): something of a program; (ss): who listens, and to what.
struct Reference {
    QString program;
    QDBusObjectPath path;
};
struct Listener {
    QString program;
    QString event;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Reference& value) {
    argument.beginStructure();
    argument << value.program << value.path;
    argument.endStructure();
    return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, Reference& value) {
    argument.beginStructure();
    argument >> value.program >> value.path;
    argument.endStructure();
    return argument;
}
QDBusArgument& operator<<(QDBusArgument& argument, const Listener& value) {
    argument.beginStructure();
    argument << value.program << value.event;
    argument.endStructure();
    return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, Listener& value) {
    argument.beginStructure();
    argument >> value.program >> value.event;
    argument.endStructure();
    return argument;
}

} // namespace

BlindUser::BlindUser() : bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName)) {
    qDBusRegisterMetaType<Reference>();
    qDBusRegisterMetaType<Listener>();
    qDBusRegisterMetaType<QList<Listener>>();
    bus_.registerVirtualObject(QStringLiteral("/org/a11y"), this, QDBusConnection::SubPath);
    bus_.connect({}, {}, events, QStringLiteral("StateChanged"), this, SLOT(stateChanged(QDBusMessage)));
    for (const char* name : {"org.a11y.Bus", "org.a11y.atspi.Registry"})
        bus_.registerService(QString::fromLatin1(name));
}

BlindUser::~BlindUser() { QDBusConnection::disconnectFromBus(connectionName); }

/// What programs ask the accessibility bus and its registry when they start.
bool BlindUser::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    QVariantList answer;
    if (message.member() == "GetAddress") {
        answer << qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    } else if (message.member() == "Get") {
        answer << QVariant::fromValue(QDBusVariant(true)); // a screen reader is there
    } else if (message.member() == "Embed") {
        program_ = message.service();
        answer << QVariant::fromValue(
            Reference{connection.baseService(), QDBusObjectPath("/org/a11y/atspi/accessible/root")});
    } else if (message.member() == "GetRegisteredEvents") {
        answer << QVariant::fromValue(QList<Listener>{{connection.baseService(), "Object:"}});
    } else if (message.member() == "NotifyListenersSync") {
        answer << false; // the key is the program's
    }
    return connection.send(message.createReply(answer));
}

void BlindUser::stateChanged(const QDBusMessage& message) {
    ++changes_;
    if (message.arguments().value(1) != 1) return;
    if (message.arguments().value(0) == "showing") appeared_.append(message.path());
    if (message.arguments().value(0) == "focused") place_ = message.path();
}

QDBusMessage BlindUser::call(const QString& path, const QString& interface, const QString& method,
                             const QVariantList& arguments) {
    QDBusMessage question = QDBusMessage::createMethodCall(program_, path, interface, method);
    question.setArguments(arguments);
    const QDBusPendingCallWatcher answer(bus_.asyncCall(question)); // wakes the loop, too
    runUntil([&] { return answer.isFinished(); }, patience);
    return QDBusPendingCall(answer).reply();
}

QVariant BlindUser::property(const QString& path, const QString& interface, const QString& name) {
    return call(path, properties, QStringLiteral("Get"), {interface, name})
        .arguments()
        .value(0)
        .value<QDBusVariant>()
        .variant();
}

std::vector<QString> BlindUser::children(const QString& path) {
    std::vector<QString> paths;
    const QDBusMessage answer = call(path, accessible, QStringLiteral("GetChildren"));
    if (answer.type() != QDBusMessage::ReplyMessage) return paths; // it has gone
    const auto list = answer.arguments().value(0).value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        Reference child;
        list >> child;
        paths.push_back(child.path.path());
    }
    list.endArray();
    return paths;
}

BlindUser::Control BlindUser::control(const QString& path) {
    Control result{.path = path};
    result.role = static_cast<SpokenRole>(
        call(path, accessible, QStringLiteral("GetRole")).arguments().value(0).toUInt());
    result.name = property(path, accessible, QStringLiteral("Name")).toString();
    result.description = property(path, accessible, QStringLiteral("Description")).toString();
    const auto words =
        qdbus_cast<QList<uint>>(call(path, accessible, QStringLiteral("GetState")).arguments().value(0));
    result.states = words.value(0) | (static_cast<quint64>(words.value(1)) << 32U);
    return result;
}

void BlindUser::readInto(const QString& path, std::vector<Control>& controls) {
    for (const QString& child : children(path)) {
        const Control found = control(child);
        if (!found.isShowing()) continue;
        controls.push_back(found);
        readInto(child, controls);
    }
}

QString BlindUser::windowPath(const QString& title) {
    if (program_.isEmpty()) return {};
    for (const QString& window : children(root))
        if (property(window, accessible, QStringLiteral("Name")) == title) return window;
    return {};
}

std::vector<BlindUser::Control> BlindUser::read(const QString& window) {
    std::vector<Control> controls;
    if (const QString path = windowPath(window); !path.isEmpty()) readInto(path, controls);
    return controls;
}

std::optional<BlindUser::Control> BlindUser::seek(const QString& window, SpokenRole role,
                                                  const QString& name) {
    for (const Control& control : read(window))
        if (control.role == role && control.name == name) return control;
    return std::nullopt;
}

bool BlindUser::has(const QString& window, SpokenRole role, const QString& name) {
    return seek(window, role, name).has_value();
}

BlindUser::Control BlindUser::find(const QString& window, SpokenRole role, const QString& name) {
    std::optional<Control> found;
    waitUntil([&] { return (found = seek(window, role, name)).has_value(); },
              [&] {
                  QStringList names;
                  for (const Control& control : read(window))
                      names << QString::number(static_cast<uint>(control.role)) + ' ' + control.name;
                  return "No '" + name + "' in " + window + ", but: " + names.join(", ");
              });
    return *found;
}

void BlindUser::waitUntilGone(const QString& window, SpokenRole role, const QString& name) {
    waitUntil([&] { return !has(window, role, name); }, [&] { return "'" + name + "' stays"; });
}

void BlindUser::act(const Control& control, const QString& action) {
    const QString actions = QStringLiteral("org.a11y.atspi.Action");
    const int count = property(control.path, actions, QStringLiteral("NActions")).toInt();
    for (int index = 0; index < count; ++index) {
        const QString name =
            call(control.path, actions, QStringLiteral("GetName"), {index}).arguments().value(0).toString();
        if (name != action) continue;
        call(control.path, actions, QStringLiteral("DoAction"), {index});
        return;
    }
    throw std::runtime_error(("'" + control.name + "' has no " + action).toStdString());
}

BlindUser::Range BlindUser::range(const Control& slider) {
    const auto number = [&](const char* name) {
        return property(slider.path, valueInterface, QString::fromLatin1(name)).toDouble();
    };
    return {number("MinimumValue"), number("CurrentValue"), number("MaximumValue")};
}

void BlindUser::setValue(const Control& slider, double value) {
    call(slider.path, properties, QStringLiteral("Set"),
         {valueInterface, QStringLiteral("CurrentValue"), QVariant::fromValue(QDBusVariant(value))});
}

void BlindUser::waitUntilAt(SpokenRole role, const QString& name) {
    Control place;
    waitUntil(
        [&] {
            if (!place_.isEmpty()) place = control(place_);
            return place.role == role && place.name == name;
        },
        [&] {
            return "It is at " + QString::number(static_cast<uint>(place.role)) + " '" + place.name +
                   "' instead of " + QString::number(static_cast<uint>(role)) + " '" + name + "'";
        });
}

/// Readers look at what is shown, and say the texts in it when it is a notification.
void BlindUser::takeSaid() {
    for (const QString& path : std::exchange(appeared_, {})) {
        if (control(path).role != SpokenRole::notification) continue;
        for (const QString& text : children(path))
            if (const Control words = control(text); words.role == SpokenRole::label) said_ << words.name;
    }
}

QString BlindUser::hear(const QString& words) {
    QString heard;
    waitUntil(
        [&] {
            takeSaid();
            const auto found =
                std::ranges::find_if(said_, [&](const QString& said) { return said.contains(words); });
            if (found == said_.end()) return false;
            heard = *found;
            said_.erase(said_.begin(), found + 1);
            return true;
        },
        [&] { return "'" + words + "' was not said, but: " + said_.join(" | "); });
    return heard;
}

/// Looks again whenever the program has told something, and now and then, as not all is told.
void BlindUser::waitUntil(const std::function<bool()>& condition, const std::function<QString()>& complaint) {
    const QDeadlineTimer deadline(patience);
    while (!condition()) {
        if (deadline.hasExpired()) throw std::runtime_error(complaint().toStdString());
        const int seen = changes_;
        runUntil([&] { return changes_ != seen; }, std::chrono::milliseconds(100));
    }
}

} // namespace velto
