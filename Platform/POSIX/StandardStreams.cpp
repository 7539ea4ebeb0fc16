#include "Platform/POSIX/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace velto {

void openStandardStreams() noexcept {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) == -1 && open("/dev/null", O_RDWR) != stream) return;
}

} // namespace velto
