// CutLine: a line to the sound server that breaks after so many messages, as it does when a program is killed
// in the middle of what it sends.
//
// A relay with a thread of its own, on a socket beside the server's. What the program sends counts, message
// by message; what the server sends passes as it comes.
#pragma once

#include <atomic>
#include <limits>
#include <string>
#include <thread>

namespace velto {

class CutLine {
  public:
    static constexpr int never = std::numeric_limits<int>::max();

    /// Takes one program, which connects to socket(). Throws std::runtime_error when it can't listen.
    CutLine(const std::string& serverSocket, std::string socket, int messages = never);
    CutLine(const CutLine&) = delete;
    CutLine& operator=(const CutLine&) = delete;
    ~CutLine();

    const std::string& socket() const noexcept { return socket_; }
    /// Messages that have reached the server.
    int passed() const noexcept { return passed_; }

  private:
    void relay();
    bool passOn(int from, int to);
    bool passMessages(std::string& pending, int to);

    std::string socket_;
    int limit_;
    int listener_ = -1;
    int server_ = -1;
    int end_[2] = {-1, -1}; // written to when it is to end
    std::atomic<int> passed_ = 0;
    std::thread thread_;
};

} // namespace velto
