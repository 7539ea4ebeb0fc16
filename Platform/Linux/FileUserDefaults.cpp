#include "Platform/Linux/FileUserDefaults.h"

#include "Platform/Linux/DefaultsFileCopies.h"
#include "Platform/Linux/FileReplacement.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velto {

namespace {

constexpr std::chrono::milliseconds writeDelay{500};
constexpr std::chrono::seconds retryDelay{30};

QString qtPath(const std::filesystem::path& path) { return QFile::decodeName(path.c_str()); }

} // namespace

FileUserDefaults::FileUserDefaults(std::filesystem::path file, MainActor& actor)
    : file_(std::move(file)), actor_(actor) {
    load();
}

FileUserDefaults::~FileUserDefaults() {
    synchronize();
    cancelTimers();
}

std::filesystem::path FileUserDefaults::standardFile() {
    std::filesystem::path config;
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg == '/') {
        config = xdg;
    } else if (const char* home = std::getenv("HOME"); home && *home == '/') {
        config = std::filesystem::path(home) / ".config";
    } else if (const passwd* user = getpwuid(getuid())) {
        config = std::filesystem::path(user->pw_dir) / ".config";
    }
    return config / "velto" / "defaults.json";
}

void FileUserDefaults::load() {
    std::error_code error;
    const auto kind = std::filesystem::status(file_, error).type();
    if (kind == std::filesystem::file_type::not_found) return;
    // A pipe or a device could hold the program up for ever.
    if (kind != std::filesystem::file_type::regular) return setAside("it is no regular file");
    QFile file(qtPath(file_));
    if (!file.open(QIODevice::ReadOnly)) return setAside("it can't be opened");
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) return setAside("it can't be read");
    const std::string_view text(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    auto document = DefaultsDocument::parse(text);
    if (!document) return setAside("it is no JSON object");
    document_ = std::move(*document);
    DefaultsFileCopies::keep(file_, text);
}

void FileUserDefaults::setAside(const char* reason) {
    const auto now =
        static_cast<std::int64_t>(actor_.now().secondsSinceReferenceDate + referenceDateInUnixSeconds);
    std::filesystem::path aside;
    std::error_code error;
    for (int attempt = 0; aside.empty() || std::filesystem::exists(aside, error); ++attempt)
        aside = fmt::format("{}.unreadable-{}{}", file_.native(), now,
                            attempt ? fmt::format("-{}", attempt) : "");
    std::filesystem::rename(file_, aside, error);
    if (error) {
        // Then nothing is written in this run: the file stays as it is.
        isWritable_ = false;
        LoggingService::persistence.error("The settings in {} can't be used ({}) nor set aside ({}); "
                                          "changes will not be kept",
                                          file_.native(), reason, error.message());
        return;
    }
    LoggingService::persistence.error("The settings in {} can't be used ({}); they are kept as {}",
                                      file_.native(), reason, aside.native());
}

std::optional<DefaultsValue> FileUserDefaults::storedValue(std::string_view key) const {
    return document_.value(key);
}

void FileUserDefaults::set(std::string_view key, DefaultsValue value) {
    if (const double* number = std::get_if<double>(&value); number && !std::isfinite(*number)) {
        LoggingService::persistence.error("A value that is not a finite number was not stored under {}",
                                          publicText(key));
        return;
    }
    if (storedValue(key) == value) return;
    document_.set(key, value);
    changed();
}

void FileUserDefaults::remove(std::string_view key) {
    if (document_.remove(key)) changed();
}

void FileUserDefaults::changed() {
    isChanged_ = true;
    if (!pendingWrite_) pendingWrite_ = actor_.postAfter(writeDelay, [this] { synchronize(); });
}

void FileUserDefaults::cancelTimers() noexcept {
    for (auto* timer : {&pendingWrite_, &retry_})
        if (const auto pending = std::exchange(*timer, std::nullopt)) actor_.cancelTimer(*pending);
}

void FileUserDefaults::synchronize() {
    cancelTimers();
    if (!isChanged_ || !isWritable_) return;
    const auto failure = write();
    isChanged_ = failure.has_value();
    if (failure && !hasFailed_)
        LoggingService::persistence.error("The settings could not be written to {}: {}", file_.native(),
                                          *failure);
    hasFailed_ = failure.has_value();
    if (failure) retry_ = actor_.postAfter(retryDelay, [this] { synchronize(); });
}

std::optional<std::string> FileUserDefaults::write() const {
    std::error_code error;
    const std::filesystem::path folder = file_.parent_path();
    std::filesystem::create_directories(folder.parent_path(), error);
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) return std::strerror(errno);

    return FileReplacement::write(file_, document_.text());
}

} // namespace velto
