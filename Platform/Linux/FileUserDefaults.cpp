#include "Platform/Linux/FileUserDefaults.h"

#include "VeltoCore/Services/LoggingService.h"

#include <QByteArray>
#include <QFile>
#include <QSaveFile>
#include <QString>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

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

using nlohmann::json;

namespace {

constexpr std::chrono::milliseconds writeDelay{500};
constexpr std::chrono::seconds retryDelay{30};
constexpr int deepestNesting = 32;
/// Stands for bytes, which JSON can't hold: {"data": "<base64>"}.
constexpr const char* dataTag = "data";

struct Encode {
    json operator()(const Data& data) const {
        const QByteArray bytes(reinterpret_cast<const char*>(data.data()),
                               static_cast<qsizetype>(data.size()));
        return {{dataTag, bytes.toBase64().toStdString()}};
    }
    json operator()(const auto& plain) const { return plain; }
};

json encoded(const DefaultsValue& value) { return std::visit(Encode{}, value); }

/// None for a value of a kind that this program never stores; the file keeps it all the same.
std::optional<DefaultsValue> decoded(const json& value) {
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{INT64_MAX})
        return std::nullopt;
    if (value.is_number_integer()) return value.get<std::int64_t>();
    if (value.is_number_float()) return value.get<double>();
    if (value.is_string()) return value.get<std::string>();
    if (!value.is_object() || value.size() != 1 || !value.contains(dataTag)) return std::nullopt;
    const json& text = value.at(dataTag);
    if (!text.is_string()) return std::nullopt;
    const auto bytes = QByteArray::fromBase64Encoding(QByteArray::fromStdString(text.get<std::string>()),
                                                      QByteArray::AbortOnBase64DecodingErrors);
    if (bytes.decodingStatus != QByteArray::Base64DecodingStatus::Ok) return std::nullopt;
    return Data(bytes.decoded.begin(), bytes.decoded.end());
}

QString qtPath(const std::filesystem::path& path) { return QFile::decodeName(path.c_str()); }

/// Null for bytes that aren't one JSON object.
json parsedObject(const QByteArray& bytes) {
    bool isTooDeep = false;
    const auto limitDepth = [&](int depth, json::parse_event_t, json&) {
        isTooDeep = isTooDeep || depth > deepestNesting;
        return !isTooDeep;
    };
    json parsed = json::parse(bytes.begin(), bytes.end(), limitDepth, false);
    return parsed.is_object() && !isTooDeep ? parsed : json();
}

} // namespace

struct FileUserDefaults::Document {
    json root = json::object();
};

FileUserDefaults::FileUserDefaults(std::filesystem::path file, MainActor& actor)
    : file_(std::move(file)), actor_(actor), document_(std::make_unique<Document>()) {
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
    json root = parsedObject(bytes);
    if (root.is_null()) return setAside("it is no JSON object");
    document_->root = std::move(root);
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
    const auto found = document_->root.find(key);
    return found == document_->root.end() ? std::nullopt : decoded(*found);
}

void FileUserDefaults::set(std::string_view key, DefaultsValue value) {
    if (const double* number = std::get_if<double>(&value); number && !std::isfinite(*number)) {
        LoggingService::persistence.error("A value that is not a finite number was not stored under {}",
                                          publicText(key));
        return;
    }
    if (storedValue(key) == value) return;
    document_->root[std::string(key)] = encoded(value);
    changed();
}

void FileUserDefaults::remove(std::string_view key) {
    if (document_->root.erase(std::string(key)) > 0) changed();
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

    QSaveFile file(qtPath(file_));
    if (!file.open(QIODevice::WriteOnly)) return file.errorString().toStdString();
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const std::string text = document_->root.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
    const auto size = static_cast<qint64>(text.size());
    // A write that ends short, as on a full disk, is none that commit() would notice.
    if (file.write(text.data(), size) != size) return "there is not enough room";
    return file.commit() ? std::nullopt : std::optional(file.errorString().toStdString());
}

} // namespace velto
