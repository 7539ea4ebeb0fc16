#include "Tests/Desktop/ForkedProcess.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

constexpr unsigned longestLife = 30; // seconds

} // namespace

ForkedProcess::ForkedProcess(const std::function<int(const std::function<void()>&)>& work) {
    std::array<int, 2> ends{-1, -1};
    if (pipe(ends.data()) != 0) throw std::runtime_error("No pipe could be made");
    id_ = fork();
    if (id_ < 0) throw std::runtime_error("No process could be made");
    if (id_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        alarm(longestLife); // one that hangs is a failure, not a test without end
        try {
            _exit(work([&] { [[maybe_unused]] const ssize_t size = write(ends[1], "x", 1); }));
        } catch (const std::exception& error) {
            std::fprintf(stderr, "in the forked process: %s\n", error.what());
            _exit(99);
        }
    }
    close(ends[1]);
    ready_ = ends[0];
}

ForkedProcess::~ForkedProcess() {
    if (id_ > 0) {
        signal(SIGKILL);
        wait();
    }
    close(ready_);
}

bool ForkedProcess::waitUntilReady() {
    char byte = 0;
    return read(ready_, &byte, 1) == 1;
}

void ForkedProcess::signal(int number) { kill(id_, number); }

int ForkedProcess::wait() {
    int status = 0;
    waitpid(std::exchange(id_, -1), &status, 0);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace velto
