#include "Velto/Shell/BundleInfo.h"

namespace velto {

std::string shortVersion(const ApplicationHost& host) {
    return host.bundleValue("CFBundleShortVersionString").value_or("dev");
}

std::string buildNumber(const ApplicationHost& host) {
    return host.bundleValue("CFBundleVersion").value_or("dev");
}

} // namespace velto
