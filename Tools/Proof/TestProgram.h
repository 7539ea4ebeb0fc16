// A test of the tests, run by the proof with other counts than usual.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace velto {

struct TestOutcome {
    /// What it says of what it did, by name.
    std::map<std::string, int> counts;
    /// What it says went wrong.
    std::vector<std::string> failures;
};

/// Runs one test of velto-pipewire-tests with that added to its environment, and waits for its end. Throws
/// std::runtime_error where it gives no account.
TestOutcome runTest(const std::string& name, const std::map<std::string, std::string>& environment);

} // namespace velto
