#include "Platform/POSIX/PrivateFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace velto {

std::optional<std::string> PrivateFolder::make(const std::filesystem::path& folder) {
    std::error_code error; // making the folder itself tells what is wrong
    std::filesystem::create_directories(folder.parent_path(), error);
    if (mkdir(folder.c_str(), S_IRWXU) == 0) return std::nullopt;
    if (errno != EEXIST) return std::strerror(errno);
    struct stat status {};
    const bool isOwn = stat(folder.c_str(), &status) == 0 && status.st_uid == geteuid();
    if (isOwn && S_ISDIR(status.st_mode) && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        chmod(folder.c_str(), S_IRWXU);
    return std::nullopt;
}

} // namespace velto
