#include "Platform/Linux/FileUserDefaults.h"

#include "Platform/Linux/DefaultsFileCopies.h"
#include "Platform/Linux/FileReplacement.h"
#include "Platform/POSIX/PrivateFolder.h"
#include "VeltoCore/Services/LoggingService.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <expected>
#include <string_view>
#include <system_error>
#include <utility>

namespace velto {

namespace {

constexpr std::chrono::milliseconds writeDelay{500};
constexpr const char* tooLarge = "they would take more than 16 MiB";
static_assert(DefaultsDocument::largestSize == std::size_t{16} * 1024 * 1024);

/// What a file holds, none when there is none; or why it can't be read.
using Content = std::expected<std::optional<std::string>, std::string>;

Content readAll(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) return std::unexpected(std::strerror(errno));
    if (!S_ISREG(status.st_mode)) return std::unexpected("it is no regular file");
    std::string text;
    std::array<char, 1U << 16U> part{};
    while (text.size() <= DefaultsDocument::largestSize &&
           status.st_size <= static_cast<off_t>(DefaultsDocument::largestSize)) {
        const ssize_t count = read(descriptor, part.data(), part.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::unexpected(std::strerror(errno));
        if (count == 0) return text;
        text.append(part.data(), static_cast<std::size_t>(count));
    }
    return std::unexpected("it is larger than 16 MiB");
}

Content contentOf(const std::filesystem::path& file) {
    // A pipe or a device must not hold the program up.
    const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0 && (errno == ENOENT || errno == ENOTDIR)) return std::nullopt;
    if (descriptor < 0) return std::unexpected(std::strerror(errno));
    Content content = readAll(descriptor);
    close(descriptor);
    return content;
}

std::size_t hash(std::string_view content) { return std::hash<std::string_view>()(content); }

} // namespace

FileUserDefaults::FileUserDefaults(std::filesystem::path file, MainActor& actor)
    : file_(std::move(file)), actor_(actor) {
    load();
}

FileUserDefaults::~FileUserDefaults() {
    synchronize();
    cancelWrite();
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
    if (std::filesystem::exists(file_.parent_path(), error)) PrivateFolder::make(file_.parent_path());
    FileReplacement::sweep(file_);
    const Content content = contentOf(file_);
    if (!content) return setAside(content.error());
    if (!*content) return;
    auto document = DefaultsDocument::parse(**content);
    if (!document) return setAside("it is no JSON object, or nested too deep");
    document_ = std::move(*document);
    knownContent_ = hash(**content);
    DefaultsFileCopies::keep(file_, **content);
}

void FileUserDefaults::setAside(const std::string& reason) {
    const auto now =
        static_cast<std::int64_t>(actor_.now().secondsSinceReferenceDate + referenceDateInUnixSeconds);
    std::filesystem::path aside;
    std::error_code error;
    for (int attempt = 0; aside.empty() || std::filesystem::exists(aside, error); ++attempt)
        aside = fmt::format("{}.unreadable-{}{}", file_.native(), now,
                            attempt ? fmt::format("-{}", attempt) : "");
    std::filesystem::rename(file_, aside, error);
    if (error) {
        obstacle_ =
            fmt::format("{} can't be used ({}) nor set aside ({})", file_.native(), reason, error.message());
        return tell(obstacle_);
    }
    knownContent_.reset();
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
    const auto change = document_.set(key, value);
    if (change == DefaultsDocument::Change::refused) {
        refusedKeys_.emplace(key);
        return tell(tooLarge);
    }
    const bool wasRefused = refusedKeys_.erase(std::string(key)) > 0;
    if (change == DefaultsDocument::Change::made || wasRefused) changed();
}

void FileUserDefaults::remove(std::string_view key) {
    const bool wasRefused = refusedKeys_.erase(std::string(key)) > 0;
    if (document_.remove(key) || wasRefused) changed();
}

void FileUserDefaults::changed() {
    isChanged_ = true;
    if (!pendingWrite_) pendingWrite_ = actor_.postAfter(writeDelay, [this] { synchronize(); });
}

void FileUserDefaults::cancelWrite() noexcept {
    if (const auto pending = std::exchange(pendingWrite_, std::nullopt)) actor_.cancelTimer(*pending);
}

void FileUserDefaults::synchronize() {
    cancelWrite();
    if (!isChanged_ || obstacle_) return;
    auto failure = write();
    isChanged_ = failure.has_value();
    if (!failure && !refusedKeys_.empty()) failure = tooLarge;
    tell(std::move(failure));
}

/// A row of failures is logged once.
void FileUserDefaults::tell(std::optional<std::string> failure) {
    if (failure && !writeFailure())
        LoggingService::persistence.error("The settings could not be written to {}: {}", file_.native(),
                                          *failure);
    setWriteFailure(std::move(failure));
}

std::optional<std::string> FileUserDefaults::write() {
    if (auto failure = PrivateFolder::make(file_.parent_path())) return failure;
    if (auto failure = keepWhatOthersWrote()) return failure;
    const std::string text = document_.text();
    auto failure = FileReplacement::write(file_, text);
    if (!failure) knownContent_ = hash(text);
    return failure;
}

std::optional<std::string> FileUserDefaults::keepWhatOthersWrote() {
    const Content content = contentOf(file_);
    if (!content) {
        setAside(content.error());
        return obstacle_;
    }
    if (!*content || hash(**content) == knownContent_) return std::nullopt;
    LoggingService::persistence.error("Another program has changed {}; it is copied and overwritten",
                                      file_.native());
    return DefaultsFileCopies::keep(file_, **content);
}

} // namespace velto
