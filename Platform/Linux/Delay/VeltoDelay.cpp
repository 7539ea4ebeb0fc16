// velto-delay: the process that delays outputs, apart from Velto, so that neither ends the other's sound.
#include "Platform/Linux/Delay/DelayProgram.h"

#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

int main(int count, char** words) {
    const auto arguments = velto::DelayProgram::read({words + 1, words + count});
    if (!arguments) {
        std::fputs("velto-delay: usage: velto-delay SERVER AGGREGATE OUTPUT MILLISECONDS...\n", stderr);
        return EXIT_FAILURE;
    }
    signal(SIGPIPE, SIG_IGN);
    try {
        velto::DelayProgram(*arguments).run();
        return EXIT_SUCCESS;
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "velto-delay: %s.\n", error.what());
        return EXIT_FAILURE;
    }
}
