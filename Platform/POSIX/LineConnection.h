// LineConnection: this program's end of a conversation by lines with another program of the same user.
//
// For programs that do nothing else meanwhile: they wait.
#pragma once

#include <chrono>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace velto {

class LineConnection {
  public:
    using Patience = std::chrono::milliseconds;
    enum class Refusal {
        /// No program listens there.
        nobody,
        /// Who listens is another user's, and is told nothing.
        anotherUser,
        /// Too many wait for one that lets nobody in.
        noAnswer,
    };

    static std::expected<LineConnection, Refusal> open(const std::filesystem::path& socket,
                                                       Patience patience);
    LineConnection(LineConnection&& other) noexcept;
    LineConnection& operator=(LineConnection&&) = delete;
    ~LineConnection();

    /// The other program.
    pid_t process() const noexcept { return process_; }
    /// False when the other side has gone.
    bool send(std::string_view line);
    /// Waits until there is something to read, if only that the other side has gone; false when there is
    /// nobody any more to read what is written to the descriptor.
    bool awaitLine(int output) const;
    /// The next line, without its end; none when the other side has gone, or nothing came in time. Without a
    /// time it waits as long as it takes.
    std::optional<std::string> read(std::optional<Patience> patience = std::nullopt);

    /// Waits until the other program has ended; false when it takes longer.
    bool awaitEnd(Patience patience) const;

  private:
    LineConnection(int descriptor, pid_t process) : descriptor_(descriptor), process_(process) {}

    int descriptor_;
    pid_t process_;
    std::string received_;
};

} // namespace velto
