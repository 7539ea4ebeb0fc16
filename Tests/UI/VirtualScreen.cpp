#include "Tests/UI/VirtualScreen.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>

namespace velto {

namespace {

[[noreturn]] void becomeServer(int displayPipe) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (const int nowhere = open("/dev/null", O_RDWR); nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
    }
    const std::string descriptor = std::to_string(displayPipe);
    execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "2400x2000x24", "-nolisten",
           "tcp", "-noreset", static_cast<char*>(nullptr));
    _exit(127);
}

/// A line, without its end; empty when the other side closes first.
std::string readLine(int from) {
    std::string line;
    for (char letter = 0;;) {
        const ssize_t count = read(from, &letter, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return {};
        if (letter == '\n') return line;
        line += letter;
    }
}

} // namespace

VirtualScreen::VirtualScreen() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("No pipe to the X server");
    server_ = fork();
    if (server_ == 0) becomeServer(ends[1]);
    close(ends[1]);
    const std::string number = readLine(ends[0]);
    close(ends[0]);
    if (!number.empty()) {
        display_ = ":" + number;
        return;
    }
    if (server_ > 0) waitpid(server_, nullptr, 0);
    throw std::runtime_error("Xvfb could not be started; the package xvfb has it");
}

VirtualScreen::~VirtualScreen() {
    kill(server_, SIGTERM);
    waitpid(server_, nullptr, 0);
}

} // namespace velto
