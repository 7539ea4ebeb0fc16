#include "Velto/Qt/QtApplicationHost.h"

#include "Velto/Qt/Text.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QSysInfo>

#include <utility>

namespace velto {

void QtApplicationHost::setActivationPolicy(ActivationPolicy policy) {
    if (handlers_.policyChanged) handlers_.policyChanged(policy);
}

void QtApplicationHost::activateIgnoringOtherApplications() {
    if (handlers_.activate) handlers_.activate();
}

void QtApplicationHost::replyToTermination() {
    if (handlers_.terminate) handlers_.terminate();
}

void QtApplicationHost::registerSleepObserver(SleepObserver observer) { sleep_.observe(std::move(observer)); }

void QtApplicationHost::removeSleepObserver() { sleep_.observe({}); }

void QtApplicationHost::setPasteboardText(std::string_view text) {
    QGuiApplication::clipboard()->setText(toQString(text));
}

std::optional<std::string> QtApplicationHost::bundleValue(std::string_view key) const {
    if (key == "CFBundleShortVersionString") return VELTO_VERSION;
    if (key == "CFBundleVersion") return VELTO_BUILD_NUMBER;
    return std::nullopt;
}

std::string QtApplicationHost::operatingSystemVersion() const {
    return (QSysInfo::prettyProductName() + QStringLiteral(" (kernel ") + QSysInfo::kernelVersion() + u')')
        .toStdString();
}

} // namespace velto
