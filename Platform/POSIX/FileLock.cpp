#include "Platform/POSIX/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>

namespace velto {

namespace {

int openLock(const std::filesystem::path& file) {
    return open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
}

bool belongsToAnother(const std::filesystem::path& file) {
    struct stat status {};
    return lstat(file.c_str(), &status) == 0 && status.st_uid != geteuid();
}

} // namespace

FileLock::FileLock(std::filesystem::path file) : file_(std::move(file)) {
    int descriptor = openLock(file_);
    if (descriptor < 0 && belongsToAnother(file_) && unlink(file_.c_str()) == 0) descriptor = openLock(file_);
    if (descriptor < 0) {
        failure_ = std::strerror(errno);
    } else if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
        descriptor_ = descriptor;
        setNote("");
    } else {
        if (errno != EWOULDBLOCK) failure_ = std::strerror(errno);
        close(descriptor);
    }
}

FileLock::FileLock(FileLock&& other) noexcept
    : file_(std::move(other.file_)), descriptor_(std::exchange(other.descriptor_, -1)),
      failure_(std::move(other.failure_)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    std::swap(file_, other.file_);
    std::swap(descriptor_, other.descriptor_);
    std::swap(failure_, other.failure_);
    return *this;
}

FileLock::~FileLock() {
    if (!isTaken()) return;
    setNote("");
    close(descriptor_);
}

std::string FileLock::note(const std::filesystem::path& file) {
    if (belongsToAnother(file)) return "";
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void FileLock::setNote(std::string_view note) const {
    // Nobody can be told of a failure; it leaves a note that leads nowhere.
    [[maybe_unused]] const bool isSaid =
        ftruncate(descriptor_, 0) == 0 && pwrite(descriptor_, note.data(), note.size(), 0) >= 0;
}

} // namespace velto
