// DispatchFileDescriptorWatcher: tells on the main dispatch queue, and so on the main actor, what can be read
// or written.
//
// Owned by the entry point; main thread only. The system lets go of a descriptor only some time after it was
// told to: it is given a copy, so that the caller may close its own at once.
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"

#include <functional>
#include <map>
#include <memory>

namespace velto {

class DispatchFileDescriptorWatcher final : public FileDescriptorWatcher {
  public:
    DispatchFileDescriptorWatcher() = default;
    DispatchFileDescriptorWatcher(const DispatchFileDescriptorWatcher&) = delete;
    DispatchFileDescriptorWatcher& operator=(const DispatchFileDescriptorWatcher&) = delete;
    /// No handler is called any more.
    ~DispatchFileDescriptorWatcher() override;

    void watchReadable(int descriptor, std::function<void()> handler) override;
    void watchWritable(int descriptor, std::function<void()> handler) override;
    void unwatch(int descriptor) noexcept override;

  private:
    class Copy;
    class Source;
    struct Watch {
        std::shared_ptr<const Copy> copy;
        /// The system's, which deletes them once they are ended; null where there is none.
        Source* readable = nullptr;
        Source* writable = nullptr;
    };

    Watch& watchOf(int descriptor);

    std::map<int, Watch> watches_;
};

} // namespace velto
