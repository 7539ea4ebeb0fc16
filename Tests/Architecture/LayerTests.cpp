#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

/// The two sources that speak to Core Audio itself.
const std::set<std::string> platformSources{"CoreAudioProperty.cpp", "SystemCoreAudioClient.cpp"};

/// What is wrong with an include of the core; empty when nothing is.
std::string objection(const fs::path& file, const std::string& included, bool isProject) {
    if (isProject) return included.starts_with("VeltoCore/") ? "" : "is above the core";
    const bool isStandard = included.find('/') == std::string::npos && !included.ends_with(".h");
    if (isStandard || platformSources.contains(file.filename())) return "";
    const bool isLibrary =
        included.starts_with("fmt/") || included.starts_with("nlohmann/") || included == "uuid/uuid.h";
    if (!isLibrary) return "is of a platform";
    return file.extension() == ".cpp" ? "" : "brings a library into a header";
}

TEST(Layers, TheCoreIncludesNothingAboveItselfAndNoPlatform) {
    const std::regex include(R"re(^\s*#\s*(?:include|import)\s*(["<])([^">]+)[">])re");
    const std::regex platformTest(R"(^\s*#\s*if.*(__linux__|__APPLE__|_WIN32))");
    int checked = 0;
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(VELTO_SOURCE_DIR) / "VeltoCore")) {
        const auto extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp") continue;
        ++checked;
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            std::smatch found;
            EXPECT_FALSE(std::regex_search(line, platformTest)) << entry.path() << ": " << line;
            if (!std::regex_search(line, found, include)) continue;
            EXPECT_EQ(objection(entry.path(), found[2], found[1] == "\""), "")
                << entry.path() << ": " << line;
        }
    }
    EXPECT_GT(checked, 50);
}

} // namespace
