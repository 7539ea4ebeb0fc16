#include "Benchmarks/SoundBench.h"

#include <sys/resource.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace velto {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

SoundBench::SoundBench(const fs::path& playedFile, int deskDriverPriority)
    : lab_(server_.socket()), deskOutput_(VirtualOutput::builtIn(desk, "Desk Speakers")) {
    if (deskDriverPriority > 0)
        deskOutput_.properties["priority.driver"] = std::to_string(deskDriverPriority);
    lab_.plug(deskOutput_);
    lab_.plug(VirtualOutput::usb(usb, "USB DAC"));
    if (!lab_.waitForDefault(desk))
        throw std::runtime_error("The private sound server chose no default output");
    if (!playedFile.empty())
        player_.emplace(std::vector<std::string>{"pw-play", playedFile.string()},
                        ChildProcess::Options{server_.environment(), "", false});
    defaults_.emplace(server_.folder() / "config/velto/defaults.json", actor_);
    client_.emplace(actor_, actor_, server_.socket());
    devices_.emplace(*client_, actor_, collation_);
    aggregates_.emplace(*client_, actor_);
    recoveryStore_.emplace(*defaults_);
    session_.emplace(*client_, *devices_, *aggregates_, *recoveryStore_, actor_);
    tasks_.emplace(actor_);
    devices_->startObserving();
}

double SoundBench::timed(Task<void> task) {
    const ContinuousInstant begin = actor_.continuousNow();
    tasks_->spawn(std::move(task));
    if (!actor_.runUntil([this] { return tasks_->count() == 0; }, 10s))
        throw std::runtime_error("The session did not get on");
    return std::chrono::duration<double, std::milli>(actor_.continuousNow() - begin).count();
}

double SoundBench::start() {
    const auto first = devices_->device(desk);
    const auto second = devices_->device(usb);
    if (!first || !second) throw std::runtime_error("The outputs are not there");
    const double taken =
        timed(session_->start(*first, *second, std::string(AggregateDeviceManager::defaultName), std::nullopt,
                              ClockStrategy::automatic));
    if (!session_->state().isActive()) throw std::runtime_error("The session did not start");
    return taken;
}

double SoundBench::stop() {
    const double taken = timed(session_->stop());
    if (session_->state() != AudioSessionState::Idle{}) throw std::runtime_error("The session did not stop");
    return taken;
}

void SoundBench::idle(std::chrono::milliseconds duration) {
    actor_.runUntil([] { return false; }, duration);
}

double SoundBench::cpuSeconds() const {
    rusage own{};
    getrusage(RUSAGE_SELF, &own);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    double total = seconds(own.ru_utime) + seconds(own.ru_stime);
    // The kernel's accounting of each thread, in nanoseconds: finer than its clock ticks.
    const fs::path threads = "/proc/" + std::to_string(server_.daemonID()) + "/task";
    for (const auto& thread : fs::directory_iterator(threads)) {
        std::ifstream file(thread.path() / "schedstat");
        double nanoseconds = 0;
        file >> nanoseconds;
        total += nanoseconds * 1e-9;
    }
    return total;
}

} // namespace velto
