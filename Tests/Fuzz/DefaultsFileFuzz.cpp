#include "Tests/Fuzz/FuzzTarget.h"

#include "Platform/Linux/FileUserDefaults.h"
#include "Simulation/SimulatedMainActor.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

namespace velto {

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void write(const fs::path& file, std::string_view content) {
    std::ofstream(file, std::ios::binary) << content;
}

bool isKept(std::string_view content, const fs::path& folder) {
    return std::ranges::any_of(fs::directory_iterator(folder), [&](const fs::directory_entry& entry) {
        return entry.is_regular_file() && contentOf(entry.path()) == content;
    });
}

} // namespace

/// The settings on disk, and beside them a file that is called as a copy of them could be: the first line.
void fuzz(std::string_view text) {
    const fs::path memory = "/dev/shm"; // a disk takes a hundred times as long
    const fs::path folder = (fs::exists(memory) ? memory : fs::temp_directory_path()) /
                            ("velto-fuzz-" + std::to_string(getpid()));
    fs::remove_all(folder);
    fs::create_directory(folder);
    const fs::path file = folder / "defaults.json";
    const std::string ending(text.substr(0, std::min<std::size_t>(text.find('\n'), 100)));
    const std::string_view content = text.substr(std::min(ending.size() + 1, text.size()));
    const bool isBeside = ending.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
    if (isBeside) write(folder / ("defaults.json.copy-" + ending), "{}");
    write(file, content);

    SimulatedMainActor actor;
    const DefaultsValue value = Data(content.begin(), content.end());
    for (const bool isFirst : {true, false}) {
        FileUserDefaults defaults(file, actor);
        require(isFirst || defaults.storedValue("record") == value);
        require(isKept(content, folder));
        defaults.set("record", value);
        defaults.synchronize();
        require(!defaults.writeFailure());
    }
    require(isKept(content, folder));
    // No more than three were ever there. What is called as a copy whose writing was cut short goes.
    const bool isUnfinished = ending.size() >= 15 && ending.rfind(".writing-") == ending.size() - 15;
    require(!isBeside || isUnfinished || isKept("{}", folder));
    fs::remove_all(folder);
}

} // namespace velto
