#include "Velto/Linux/SecondStart.h"

#include "Platform/POSIX/DetachedProgram.h"
#include "VeltoCore/Services/LoggingService.h"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <filesystem>
#include <utility>

namespace velto {

void SecondStart::begin() try {
    if (process_ >= 0) return;
    const pid_t process = startDetached(std::filesystem::read_symlink("/proc/self/exe"), {});
    process_ = static_cast<int>(syscall(SYS_pidfd_open, process, 0U));
    if (process_ >= 0) watcher_.watchReadable(process_, [this] { ended(); });
} catch (const std::exception& error) {
    LoggingService::ui.error("Windows could not be opened: {}", error.what());
}

void SecondStart::ended() {
    siginfo_t end{};
    waitid(P_PIDFD, static_cast<id_t>(process_), &end, WEXITED | WNOHANG);
    release();
    if (end.si_code != CLD_EXITED || end.si_status != 0)
        LoggingService::ui.error("Windows could not be opened: the start that tried the display failed");
}

void SecondStart::release() {
    const int process = std::exchange(process_, -1);
    if (process < 0) return;
    watcher_.unwatch(process);
    close(process);
}

} // namespace velto
