#include "Platform/Linux/FileReplacement.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <system_error>

namespace velto {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view unfinished = ".writing-";
constexpr std::string_view randomLetters = "XXXXXX"; // mkostemp() puts others there

/// What the name leads to, which need not be there.
fs::path followed(fs::path file) {
    constexpr int mostLinks = 40; // as the kernel has it
    std::error_code error;
    for (int link = 0; link < mostLinks && fs::is_symlink(file, error); ++link)
        file = file.parent_path() / fs::read_symlink(file, error);
    return file;
}

std::optional<std::string> reason(bool isDone) {
    return isDone ? std::nullopt : std::optional<std::string>(std::strerror(errno));
}

bool writeAll(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = ::write(descriptor, content.data(), content.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// Without this a crash of the machine could bring the old name back.
bool syncFolder(const fs::path& folder) {
    const int descriptor = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return false;
    const bool isSynced = fsync(descriptor) == 0 || errno == EINVAL; // some file systems have no need of it
    const int error = errno;
    close(descriptor);
    errno = error;
    return isSynced;
}

bool isUnfinished(std::string_view name, std::string_view nameOfFile) {
    const std::size_t mark = name.rfind(unfinished);
    if (!name.starts_with(nameOfFile) || mark == std::string_view::npos || mark < nameOfFile.size())
        return false;
    const std::string_view letters = name.substr(mark + unfinished.size());
    constexpr std::string_view used = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    return letters.size() == randomLetters.size() &&
           letters.find_first_not_of(used) == std::string_view::npos;
}

} // namespace

std::optional<std::string> FileReplacement::write(const fs::path& file, std::string_view content) {
    const fs::path target = followed(file);
    std::string name = target.native();
    name.append(unfinished).append(randomLetters);
    const int descriptor = mkostemp(name.data(), O_CLOEXEC); // with mode 0600
    if (descriptor < 0) return reason(false);
    auto failure = reason(writeAll(descriptor, content) && fsync(descriptor) == 0);
    const bool isClosed = close(descriptor) == 0;
    if (!failure) failure = reason(isClosed && std::rename(name.c_str(), target.c_str()) == 0);
    if (!failure) return reason(syncFolder(target.parent_path()));
    unlink(name.c_str());
    return failure;
}

void FileReplacement::sweep(const fs::path& file) {
    const fs::path target = followed(file);
    const std::set<std::pair<fs::path, std::string>> places{{file.parent_path(), file.filename()},
                                                            {target.parent_path(), target.filename()}};
    for (const auto& [folder, nameOfFile] : places) {
        std::error_code error;
        std::set<fs::path> found;
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
            if (isUnfinished(entry->path().filename().native(), nameOfFile)) found.insert(entry->path());
        for (const fs::path& path : found)
            fs::remove(path, error);
    }
}

} // namespace velto
