#include "Platform/Linux/FileReplacement.h"

#include <QFile>
#include <QSaveFile>
#include <QString>

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace velto {

std::optional<std::string> FileReplacement::write(const std::filesystem::path& file,
                                                  std::string_view content) {
    QSaveFile replacement(QFile::decodeName(file.c_str()));
    // A write that ends short, as on a full disk, is none that commit() would notice; in a buffer it would be
    // none that write() could tell.
    if (!replacement.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return replacement.errorString().toStdString();
    replacement.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const auto size = static_cast<qint64>(content.size());
    if (replacement.write(content.data(), size) != size) return "there is not enough room";
    if (fsync(replacement.handle()) != 0) return std::strerror(errno); // commit() would not tell either
    return replacement.commit() ? std::nullopt : std::optional(replacement.errorString().toStdString());
}

} // namespace velto
