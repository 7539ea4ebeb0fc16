// FileDescriptorWatcher: what a client that lives on file descriptors asks of the main loop.
#pragma once

#include <functional>

namespace velto {

class FileDescriptorWatcher {
  public:
    virtual ~FileDescriptorWatcher() = default;
    /// Calls the handler on the main actor whenever, and as long as, the descriptor can be read. One handler
    /// a descriptor; the descriptor stays the caller's.
    virtual void watchReadable(int descriptor, std::function<void()> handler) = 0;
    /// Calls the handler on the main actor once, when the descriptor can be written. Not for a plain file.
    virtual void watchWritable(int descriptor, std::function<void()> handler) = 0;
    /// Ends both. Must come before the descriptor is closed. An unknown descriptor is ignored.
    virtual void unwatch(int descriptor) noexcept = 0;
};

} // namespace velto
