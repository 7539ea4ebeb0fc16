#include "Platform/Linux/TerminationSignals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace velto {

TerminationSignals::TerminationSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), "Signals could not be watched");
}

TerminationSignals::~TerminationSignals() {
    if (watcher_) watcher_->unwatch(descriptor_);
    close(descriptor_);
}

void TerminationSignals::observe(FileDescriptorWatcher& watcher, std::function<void()> handler) {
    watcher_ = &watcher;
    watcher.watchReadable(descriptor_, [this, handler = std::move(handler)] {
        signalfd_siginfo received{};
        if (read(descriptor_, &received, sizeof received) == sizeof received) handler();
    });
}

} // namespace velto
