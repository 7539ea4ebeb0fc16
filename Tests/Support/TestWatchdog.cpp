// What every test program has beside its tests: a test that hangs is named, shows where it is, and ends the
// program.
//
// An alarm, not a thread: it interrupts the thread that the tests run on, wherever that is, and tells where.
// A process that a test forks inherits none. Of other threads it says nothing, and under ThreadSanitizer it
// waits for the next call of a library.
#include <gtest/gtest.h>

#include <execinfo.h>
#include <signal.h>
#include <unistd.h>

#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#include <sanitizer/common_interface_defs.h>
#endif

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

namespace velto {
namespace {

/// Longer than any test takes on a machine that is busy, shorter than ./test has ctest wait.
constexpr unsigned secondsForATest = 240;

std::array<char, 300> underWay{}; // ends in 0

void print(std::string_view text) {
    [[maybe_unused]] const ssize_t size = write(STDERR_FILENO, text.data(), text.size());
}

#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
void print(std::span<void*> stack) {
    for (void* address : stack) {
        std::array<char, 1000> text{};
        __sanitizer_symbolize_pc(address, "    %f %S\n", text.data(), text.size());
        print(text.data());
    }
}
#else
void print(std::span<void*> stack) {
    backtrace_symbols_fd(stack.data(), static_cast<int>(stack.size()), STDERR_FILENO);
}
#endif

void tellAndEnd(int) {
    alarm(10); // ends the program where telling hangs as well
    print("\nThis hangs: ");
    print(underWay.data());
    print("\n");
    std::array<void*, 100> stack{};
    print(std::span(stack.data(), static_cast<std::size_t>(backtrace(stack.data(), stack.size()))));
    std::abort();
}

class TestWatchdog : public testing::EmptyTestEventListener {
  public:
    TestWatchdog() {
        std::array<void*, 1> stack{};
        backtrace(stack.data(), stack.size()); // loads what it needs, which can't be done in the handler
        struct sigaction action {};
        action.sa_handler = tellAndEnd;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
        sigaction(SIGALRM, &action, nullptr);
    }

  private:
    void OnTestStart(const testing::TestInfo& test) override { watch("", test); }
    // What comes between tests, and after the last one, may hang too.
    void OnTestEnd(const testing::TestInfo& test) override { watch("after ", test); }

    static void watch(const char* when, const testing::TestInfo& test) {
        alarm(0); // it looks at the name
        std::snprintf(underWay.data(), underWay.size(), "%s%s.%s", when, test.test_suite_name(), test.name());
        const char* wanted = std::getenv("VELTO_TEST_SECONDS");
        alarm(wanted ? static_cast<unsigned>(std::atoi(wanted)) : secondsForATest);
    }
};

[[maybe_unused]] const bool isListening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new TestWatchdog);
    return true;
}();

} // namespace
} // namespace velto
