#include "Platform/Linux/FileUserDefaults.h"

#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedMainActor.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <signal.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace velto {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using namespace std::string_literals;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::string contents(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

void write(const fs::path& file, std::string_view text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}

/// Replacing a file whole gives it another inode.
ino_t inode(const fs::path& file) {
    struct stat status{};
    return stat(file.c_str(), &status) == 0 ? status.st_ino : 0;
}

mode_t mode(const fs::path& path) {
    struct stat status{};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

class FileUserDefaultsTests : public testing::Test {
  protected:
    FileUserDefaultsTests() {
        std::string pattern = "/tmp/velto-defaults-XXXXXX";
        folder = mkdtemp(pattern.data());
        file = folder / "config" / "velto" / "defaults.json";
    }
    ~FileUserDefaultsTests() override {
        EXPECT_EQ(loop.pendingTimers(), 0u) << "defaults that are gone left a timer";
        fs::remove_all(folder);
    }

    /// Opens the file as a new run of the program does, for as long as the call takes.
    template <class Use>
    void run(const Use& use) {
        FileUserDefaults defaults(file, loop);
        use(defaults);
    }
    std::optional<DefaultsValue> stored(std::string_view key) {
        return FileUserDefaults(file, loop).storedValue(key);
    }
    /// Without the copies.
    std::vector<std::string> filesInFolder() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(file.parent_path()))
            if (const std::string name = entry.path().filename(); name.find(".copy-") == std::string::npos)
                names.push_back(name);
        std::ranges::sort(names);
        return names;
    }

    SimulatedMainActor loop;
    RecordingLogSink log;
    fs::path folder;
    fs::path file;
};

TEST_F(FileUserDefaultsTests, EntriesOfOthersSurviveARewrite) {
    const json foreign = json::parse(R"({"null": null, "list": [1, {"a": [2.5]}], "record": {"data": 1},
        "big": 18446744073709551615, "no base64": {"data": "!!"}, "two": {"data": "AA==", "more": 1}})");
    write(file, foreign.dump());
    run([&](FileUserDefaults& defaults) {
        for (const auto& entry : foreign.items())
            EXPECT_EQ(defaults.storedValue(entry.key()), std::nullopt) << entry.key();
        defaults.set("ours", true);
    });
    json expected = foreign;
    expected["ours"] = true;
    EXPECT_EQ(json::parse(contents(file)), expected);
}

TEST_F(FileUserDefaultsTests, ChangesAreWrittenTogetherWithinASecond) {
    FileUserDefaults defaults(file, loop);
    defaults.set("a", true);
    for (std::int64_t i = 0; i < 9; ++i) { // later changes don't put the write off
        defaults.set("count", i);
        loop.advance(100ms);
    }
    ASSERT_TRUE(fs::exists(file));
    loop.advance(1s);
    EXPECT_EQ(stored("count"), DefaultsValue(std::int64_t{8}));

    const ino_t before = inode(file);
    for (int i = 0; i < 100; ++i)
        defaults.set("key " + std::to_string(i), "value"s);
    EXPECT_EQ(loop.pendingTimers(), 1u);
    EXPECT_EQ(inode(file), before);
    loop.advance(1s);
    EXPECT_EQ(stored("key 99"), DefaultsValue("value"s));
    const ino_t after = inode(file);
    EXPECT_NE(after, before);
    loop.advance(1h);
    EXPECT_EQ(inode(file), after) << "written again without a change";
}

TEST_F(FileUserDefaultsTests, WhatChangesNothingWritesNothing) {
    run([](FileUserDefaults& defaults) { defaults.remove("absent"); });
    EXPECT_FALSE(fs::exists(file.parent_path()));
    run([](FileUserDefaults& defaults) {
        defaults.set("n", std::int64_t{5});
        defaults.set("x", 0.5);
    });
    const ino_t before = inode(file);
    run([](FileUserDefaults& defaults) {
        defaults.set("n", std::int64_t{5});
        defaults.set("x", 0.5);
        defaults.remove("absent");
    });
    EXPECT_EQ(inode(file), before);
}

TEST_F(FileUserDefaultsTests, FileAndFolderAreTheUsersAlone) {
    const mode_t mask = umask(0);
    run([](FileUserDefaults& defaults) { defaults.set("a", true); });
    EXPECT_EQ(mode(file.parent_path()), 0700u);
    EXPECT_EQ(mode(file), 0600u);
    // A folder that is already there is the user's to decide on; the file isn't.
    ASSERT_EQ(chmod(file.parent_path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(file.c_str(), 0644), 0);
    run([](FileUserDefaults& defaults) { defaults.set("b", true); });
    umask(mask);
    EXPECT_EQ(mode(file.parent_path()), 0755u);
    EXPECT_EQ(mode(file), 0600u);
    EXPECT_THAT(filesInFolder(), ElementsAre("defaults.json"));
}

TEST_F(FileUserDefaultsTests, ALinkToTheFileStaysALink) {
    const fs::path target = folder / "elsewhere" / "real.json";
    write(target, R"({"a": 1})");
    fs::create_directories(file.parent_path());
    fs::create_symlink(target, file);
    run([](FileUserDefaults& defaults) { defaults.set("b", true); });
    EXPECT_TRUE(fs::is_symlink(file));
    EXPECT_EQ(json::parse(contents(target)), (json{{"a", 1}, {"b", true}}));
}

struct Unreadable {
    std::string name;
    std::function<void(const fs::path&)> make;
};

Unreadable text(std::string name, std::string content) {
    return {std::move(name), [content](const fs::path& file) { write(file, content); }};
}

class UnreadableDefaultsTests : public FileUserDefaultsTests,
                                public testing::WithParamInterface<Unreadable> {};

TEST_P(UnreadableDefaultsTests, AreSetAsideAndNeverOverwritten) {
    fs::create_directories(file.parent_path());
    GetParam().make(file);
    const ino_t original = inode(file);
    const std::string content = fs::is_regular_file(file) ? contents(file) : "";

    run([](FileUserDefaults& defaults) {
        EXPECT_EQ(defaults.storedValue("a"), std::nullopt);
        defaults.set("a", true);
    });
    EXPECT_EQ(stored("a"), DefaultsValue(true));
    const auto names = filesInFolder();
    ASSERT_THAT(names, ElementsAre("defaults.json", testing::StartsWith("defaults.json.unreadable-")));
    const fs::path aside = file.parent_path() / names[1];
    EXPECT_EQ(inode(aside), original);
    if (fs::is_regular_file(aside)) EXPECT_EQ(contents(aside), content);
    EXPECT_THAT(log.lines(),
                ElementsAre(testing::AllOf(HasSubstr("Persistence error: "), HasSubstr(names[1]))));
}

INSTANTIATE_TEST_SUITE_P(
    , UnreadableDefaultsTests,
    testing::Values(text("Garbage", "hello"), text("Empty", ""), text("CutShort", R"({"a": 1)"),
                    text("ListAtTheTop", "[1, 2]"), text("TwoObjects", "{}{}"),
                    text("Binary", "\0\x7F\0\xFF"s), text("BrokenUTF8", "{\"a\": \"\xFF\"}"),
                    text("NumberTooBig", R"({"a": 1e999})"),
                    text("TooDeep", std::string(100'000, '[') + std::string(100'000, ']')),
                    text("TooDeepInside", R"({"a": )" + std::string(40, '[') + std::string(40, ']') + "}"),
                    Unreadable{"Folder",
                               [](const fs::path& file) { fs::create_directories(file / "inner"); }},
                    Unreadable{"Pipe", [](const fs::path& file) { mkfifo(file.c_str(), 0600); }}),
    [](const auto& info) { return info.param.name; });

TEST_F(FileUserDefaultsTests, TwoSetAsideInOneSecondAreBothKept) {
    for (const char* broken : {"first", "second", "third"}) {
        write(file, broken);
        EXPECT_EQ(stored("a"), std::nullopt);
    }
    std::vector<std::string> kept;
    for (const std::string& name : filesInFolder())
        kept.push_back(contents(file.parent_path() / name));
    EXPECT_THAT(kept, testing::UnorderedElementsAre("first", "second", "third"));
}

TEST_F(FileUserDefaultsTests, AFileThatCannotBeSetAsideStaysAsItIs) {
    file = file.parent_path() / std::string(245, 'n'); // no room for the longer name
    write(file, "broken");
    run([&](FileUserDefaults& defaults) {
        defaults.set("a", true);
        loop.advance(1h);
        defaults.synchronize();
        EXPECT_EQ(defaults.boolValue("a"), true);
    });
    EXPECT_EQ(contents(file), "broken");
    EXPECT_THAT(filesInFolder(), SizeIs(1));
    EXPECT_EQ(log.count("Persistence error: "), 1u);
}

TEST_F(FileUserDefaultsTests, AWriteThatFailsIsTriedAgainAndLoggedOnce) {
    write(folder / "config", "a file where the folder should be");
    run([&](FileUserDefaults& defaults) {
        defaults.set("a", true);
        loop.advance(1s);
        EXPECT_EQ(log.count("Persistence error: "), 1u);
        defaults.set("b", true);
        loop.advance(10min);
        EXPECT_THAT(log.lines(), SizeIs(1)) << "one line for a row of failures";
        EXPECT_EQ(defaults.boolValue("a"), true);

        fs::remove(folder / "config");
        loop.advance(1min);
        EXPECT_EQ(stored("a"), DefaultsValue(true)) << "nothing changed since: it has to be tried again";
        fs::remove_all(folder / "config");
        write(folder / "config", "and at the end");
        defaults.set("e", true);
    });
}

TEST_F(FileUserDefaultsTests, AFullDiskLeavesTheOldFile) {
    run([](FileUserDefaults& defaults) { defaults.set("old", true); });
    const std::string before = contents(file);
    struct rlimit unlimited{};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    run([&](FileUserDefaults& defaults) {
        defaults.set("new", std::string(100'000, 'x'));
        const struct rlimit small{50'000, unlimited.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        defaults.synchronize();
        setrlimit(RLIMIT_FSIZE, &unlimited);
        EXPECT_EQ(contents(file), before);
        EXPECT_THAT(filesInFolder(), ElementsAre("defaults.json"));
        EXPECT_EQ(log.count("Persistence error: The settings could not be written"), 1u);
    });
    ::signal(SIGXFSZ, handler);
    EXPECT_EQ(stored("new"), DefaultsValue(std::string(100'000, 'x')));
}

TEST_F(FileUserDefaultsTests, KilledWhileWritingLeavesAWholeFile) {
    for (int round = 0; round < 8; ++round) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t writer = fork();
        if (writer == 0) {
            FileUserDefaults defaults(file, loop);
            for (std::int64_t i = 0;; ++i) {
                defaults.set("number", i);
                defaults.set("text", std::string(200'000, static_cast<char>('a' + i % 26)));
                defaults.synchronize();
                if (::write(ends[1], "w", 1) != 1) _exit(1);
            }
        }
        close(ends[1]);
        char written = 0;
        for (int i = 0; i <= round; ++i)
            ASSERT_EQ(read(ends[0], &written, 1), 1);
        kill(writer, SIGKILL);
        ASSERT_EQ(waitpid(writer, nullptr, 0), writer);
        close(ends[0]);

        run([&](FileUserDefaults& defaults) {
            const auto number = defaults.integerValue("number");
            ASSERT_TRUE(number);
            EXPECT_EQ(defaults.stringValue("text"),
                      std::string(200'000, static_cast<char>('a' + *number % 26)));
            EXPECT_GE(*number, round);
        });
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(FileUserDefaultsTests, StandardFileIsInTheUsersConfigurationFolder) {
    const char* before = std::getenv("XDG_CONFIG_HOME");
    const std::string ownFolder = before ? before : "";
    setenv("XDG_CONFIG_HOME", "/x/config", 1);
    EXPECT_EQ(FileUserDefaults::standardFile(), "/x/config/velto/defaults.json");
    setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_THAT(FileUserDefaults::standardFile().string(), testing::EndsWith("/.config/velto/defaults.json"));
    before ? setenv("XDG_CONFIG_HOME", ownFolder.c_str(), 1) : unsetenv("XDG_CONFIG_HOME");
}

} // namespace
} // namespace velto
