// What main() of every program of the application is.
#pragma once

#include <cstdio>
#include <exception>

namespace velto {

/// Runs the program; an error that nobody handles becomes a sentence on standard error, and exit status 1.
template <class Run>
int programMain(const char* name, const Run& run) {
    try {
        return run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", name, error.what());
        return 1;
    }
}

} // namespace velto
