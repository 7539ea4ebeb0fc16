#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// The sources that speak to Core Audio itself.
const std::set<std::string> platformSources{"CoreAudioProperty.cpp", "SystemCoreAudioClient.cpp"};

/// What is wrong with an include; empty when nothing is. The layers are those that the file may include.
std::string objection(const std::vector<std::string>& layers, const fs::path& file,
                      const std::string& included, bool isProject) {
    const auto isOf = [&](const std::string& layer) { return included.starts_with(layer + "/"); };
    if (isProject) return std::ranges::any_of(layers, isOf) ? "" : "is of a layer above";
    const bool isStandard = included.find('/') == std::string::npos && !included.ends_with(".h");
    if (isStandard || platformSources.contains(file.filename())) return "";
    const bool isLibrary = included.starts_with("fmt/") || included.starts_with("nlohmann/") ||
                           included.starts_with("unsupported/Eigen/") || included == "uuid/uuid.h";
    if (!isLibrary) return "is of a platform";
    return file.extension() == ".cpp" ? "" : "brings a library into a header";
}

/// Looks at all sources of the first of the layers.
void expectNothingAbove(const std::vector<std::string>& layers) {
    const std::regex include(R"re(^\s*#\s*(?:include|import)\s*(["<])([^">]+)[">])re");
    const std::regex platformTest(R"(^\s*#\s*if.*(__linux__|__APPLE__|_WIN32))");
    int checked = 0;
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(VELTO_SOURCE_DIR) / layers.front())) {
        const auto extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp") continue;
        ++checked;
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            std::smatch found;
            EXPECT_FALSE(std::regex_search(line, platformTest)) << entry.path() << ": " << line;
            if (!std::regex_search(line, found, include)) continue;
            EXPECT_EQ(objection(layers, entry.path(), found[2], found[1] == "\""), "")
                << entry.path() << ": " << line;
        }
    }
    EXPECT_GT(checked, 0) << layers.front();
}

/// The core's folders, each of which includes only those after it.
const std::vector<std::string> coreOrder{"Session", "Settings", "Recovery",    "Aggregate",
                                         "Sync",    "Volume",   "Devices",     "CoreAudio",
                                         "Async",   "Services", "Observation", "Foundation"};

TEST(Layers, TheCoresFoldersPointOneWayAndToNoPlatform) {
    std::set<std::string> folders;
    for (const auto& entry : fs::directory_iterator(fs::path(VELTO_SOURCE_DIR) / "VeltoCore"))
        if (entry.is_directory()) folders.insert(entry.path().filename());
    EXPECT_EQ(folders, std::set<std::string>(coreOrder.begin(), coreOrder.end()));
    std::vector<std::string> layers;
    for (const std::string& folder : coreOrder)
        layers.push_back("VeltoCore/" + folder);
    for (; !layers.empty(); layers.erase(layers.begin()))
        expectNothingAbove(layers);
}

TEST(Layers, TheShellIncludesOnlyTheCore) { expectNothingAbove({"Velto/Shell", "VeltoCore"}); }

TEST(Layers, TheWindowsOfAllPlatformsIncludeNothingOfOne) {
    expectNothingAbove({"Velto/Qt", "Velto/Shell", "VeltoCore"});
}

} // namespace
