#include "Platform/Linux/FileUserDefaults.h"

#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedMainActor.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cerrno>
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
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace velto {
namespace {

bool fails(const char* call);

} // namespace
} // namespace velto

// In place of those of the C library.
extern "C" int fsync(int descriptor) {
    struct stat status {};
    fstat(descriptor, &status);
    if (velto::fails(S_ISDIR(status.st_mode) ? "sync folder" : "sync file")) return -1;
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

extern "C" int rename(const char* from, const char* to) {
    if (velto::fails("rename")) return -1;
    return static_cast<int>(syscall(SYS_rename, from, to));
}

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
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? status.st_ino : 0;
}

mode_t mode(const fs::path& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

/// What the program asks the system to bring to disk, in order; the one named fails.
std::vector<std::string> diskCalls;
std::string failingDiskCall;

bool fails(const char* call) {
    diskCalls.emplace_back(call);
    errno = EIO;
    return failingDiskCall == call;
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
    ASSERT_EQ(chmod(file.parent_path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(file.c_str(), 0644), 0);
    run([](FileUserDefaults& defaults) { defaults.set("b", true); });
    umask(mask);
    EXPECT_EQ(mode(file.parent_path()), 0700u);
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
    const bool isReadable = fs::is_regular_file(file) && fs::file_size(file) < std::uintmax_t{1} << 30;
    const std::string content = isReadable ? contents(file) : "";

    run([](FileUserDefaults& defaults) {
        EXPECT_EQ(defaults.storedValue("a"), std::nullopt);
        defaults.set("a", true);
    });
    EXPECT_EQ(stored("a"), DefaultsValue(true));
    const auto names = filesInFolder();
    ASSERT_THAT(names, ElementsAre("defaults.json", testing::StartsWith("defaults.json.unreadable-")));
    const fs::path aside = file.parent_path() / names[1];
    EXPECT_EQ(inode(aside), original);
    if (isReadable) EXPECT_EQ(contents(aside), content);
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
                    text("BracketsAlone", std::string(15 << 20, '[')),
                    text("TooLarge", R"({"a": ")" + std::string(16 << 20, 'x') + "\"}"),
                    Unreadable{"FarTooLarge",
                               [](const fs::path& file) {
                                   write(file, "{}");
                                   fs::resize_file(file, std::uintmax_t{200} << 30);
                               }},
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
        EXPECT_EQ(defaults.value("a"), DefaultsValue(true));
    });
    EXPECT_EQ(contents(file), "broken");
    EXPECT_THAT(filesInFolder(), SizeIs(1));
    EXPECT_EQ(log.count("Persistence error: "), 1u);
}

TEST_F(FileUserDefaultsTests, AWriteThatFailsIsToldAndTriedAgainWhenThereIsOccasion) {
    write(folder / "config", "a file where the folder should be");
    run([&](FileUserDefaults& defaults) {
        std::vector<std::string> told;
        const auto observation =
            defaults.observeWriteFailure([&] { told.push_back(defaults.writeFailure().value_or("")); });
        defaults.set("a", true);
        loop.advance(1s);
        EXPECT_THAT(told, ElementsAre("Not a directory"));
        EXPECT_EQ(loop.pendingTimers(), 0u) << "it wakes nobody up for it";
        defaults.set("b", true);
        loop.advance(1s);
        defaults.synchronize();
        EXPECT_THAT(log.lines(), SizeIs(1)) << "one line for a row of failures";
        EXPECT_EQ(defaults.value("a"), DefaultsValue(true));

        fs::remove(folder / "config");
        defaults.synchronize();
        EXPECT_EQ(stored("a"), DefaultsValue(true)) << "nothing changed since: it has to be tried again";
        EXPECT_THAT(told, ElementsAre("Not a directory", ""));
        fs::remove_all(folder / "config");
        write(folder / "config", "and at the end");
        defaults.set("e", true);
    });
}

TEST_F(FileUserDefaultsTests, TheFileIsOnDiskOnceAndItsNameAfterIt) {
    run([&](FileUserDefaults& defaults) {
        defaults.set("record", true);
        defaults.synchronize();
        diskCalls.clear();
        defaults.set("record", false);
        defaults.synchronize();
        EXPECT_THAT(diskCalls, ElementsAre("sync file", "rename", "sync folder"));
        for (const char* failing : {"sync file", "rename", "sync folder"}) {
            failingDiskCall = failing;
            defaults.set("record", Data{1});
            defaults.synchronize();
            EXPECT_EQ(defaults.writeFailure(), "Input/output error") << failing;
            failingDiskCall = "";
            defaults.set("record", false);
            defaults.synchronize();
            EXPECT_EQ(defaults.writeFailure(), std::nullopt);
            EXPECT_THAT(filesInFolder(), ElementsAre("defaults.json"));
        }
    });
}

TEST_F(FileUserDefaultsTests, WhatOthersWriteMeanwhileIsCopiedBeforeItIsOverwritten) {
    write(file, R"({"a": true})");
    run([&](FileUserDefaults& defaults) {
        const auto copyHolds = [&](int number, std::string_view text) {
            EXPECT_EQ(contents(file.native() + ".copy-" + std::to_string(number)), text);
        };
        copyHolds(1, R"({"a": true})");
        for (const int number : {2, 3}) { // the second over a file of the program's own
            const std::string byHand = R"({"a": false, "mine": )" + std::to_string(number) + "}";
            write(file, byHand);
            defaults.set("number", std::int64_t{number});
            defaults.synchronize();
            copyHolds(number, byHand);
        }
        defaults.set("a", false);
        defaults.synchronize();
        EXPECT_FALSE(fs::exists(file.native() + ".copy-4"));

        fs::remove(file);
        fs::create_directory(file);
        defaults.set("a", true);
        defaults.synchronize();
        EXPECT_EQ(defaults.writeFailure(), std::nullopt);
        EXPECT_THAT(filesInFolder(), SizeIs(2)) << "a folder is set aside";
    });
    EXPECT_EQ(stored("a"), DefaultsValue(true));
}

TEST_F(FileUserDefaultsTests, AtTheStartTheFolderIsClosedAndSweptOfWritesThatWereKilled) {
    write(file, "{}");
    const std::vector<std::string> others{"defaults.json", "defaults.json.backup",
                                          "defaults.json.writing-mine", "notes.writing-AbCdEf"};
    for (const std::string& name : others)
        write(file.parent_path() / name, "{}");
    write(file.native() + ".writing-AbCdEf", "cut sho");
    write(file.native() + ".copy-3.writing-AbCdEf", "");
    ASSERT_EQ(chmod(file.parent_path().c_str(), 0755), 0);
    run([](FileUserDefaults&) {});
    EXPECT_EQ(filesInFolder(), others);
    EXPECT_FALSE(fs::exists(file.native() + ".copy-3.writing-AbCdEf"));
    EXPECT_EQ(mode(file.parent_path()), 0700u);
}

TEST_F(FileUserDefaultsTests, AChangeThatWouldMakeTheFileUnreadableIsRefused) {
    const std::string large(9 << 20, 'x');
    run([&](FileUserDefaults& defaults) {
        defaults.set("large", large);
        defaults.set("small", true);
        defaults.synchronize();
        defaults.set("larger", large);
        EXPECT_EQ(defaults.writeFailure(), "they would take more than 16 MiB");
        EXPECT_EQ(defaults.storedValue("larger"), std::nullopt);
        defaults.set("record", true);
        defaults.synchronize();
        EXPECT_EQ(stored("record"), DefaultsValue(true)) << "others are not held up";
        EXPECT_NE(defaults.writeFailure(), std::nullopt) << "it still holds";
        defaults.remove("larger");
        defaults.synchronize();
        EXPECT_EQ(defaults.writeFailure(), std::nullopt);
    });
    EXPECT_TRUE(stored("large") == DefaultsValue(large));
    EXPECT_EQ(log.count("16 MiB"), 1u);
}

TEST_F(FileUserDefaultsTests, RecordsAreThereToBeRead) {
    const auto data = [](std::string_view text) { return Data(text.begin(), text.end()); };
    const std::string presets = R"([{"name":"Küche \"1\"","volume":0.1000000000000000055},[],{},-0,1e2])";
    // Of an earlier version: QByteArray(presets).toBase64().
    write(file, json{{"old", {{"data", "WzEseyJhIjoiYiJ9XQ=="}}}}.dump());
    run([&](FileUserDefaults& defaults) {
        EXPECT_EQ(defaults.dataValue("old"), data(R"([1,{"a":"b"}])"));
        defaults.set("presets", data(presets));
    });
    EXPECT_EQ(contents(file), R"({
  "old": {
    "json": [
      1,
      {
        "a": "b"
      }
    ]
  },
  "presets": {
    "json": [
      {
        "name": "Küche \"1\"",
        "volume": 0.1000000000000000055
      },
      [],
      {},
      -0,
      1e2
    ]
  }
}
)");
    EXPECT_EQ(stored("presets"), DefaultsValue(data(presets)));

    const std::string deep = std::string(31, '[') + std::string(31, ']');
    for (const std::string& bytes :
         {"[1 ]"s, "[1]\n"s, "{}\0"s, "\xEF\xBB\xBF{}"s, "[1"s, "1e999"s, ""s, deep}) {
        run([&](FileUserDefaults& defaults) { defaults.set("presets", data(bytes)); });
        EXPECT_EQ(stored("presets"), DefaultsValue(data(bytes)));
        EXPECT_TRUE(json::parse(contents(file)).at("presets").contains("data")) << bytes;
    }
    run([&](FileUserDefaults& defaults) { defaults.set("presets", data(deep.substr(1, 60))); });
    EXPECT_EQ(stored("presets"), DefaultsValue(data(deep.substr(1, 60))));
    EXPECT_TRUE(json::parse(contents(file)).at("presets").contains("json"));
}

TEST_F(FileUserDefaultsTests, AFullDiskLeavesTheOldFile) {
    run([](FileUserDefaults& defaults) { defaults.set("old", true); });
    const std::string before = contents(file);
    struct rlimit unlimited {};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    run([&](FileUserDefaults& defaults) {
        defaults.set("new", std::string(100'000, 'x'));
        const struct rlimit small { 50'000, unlimited.rlim_max };
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
            const auto number = defaults.value("number").transform(asDouble);
            ASSERT_TRUE(number);
            EXPECT_EQ(defaults.stringValue("text"),
                      std::string(200'000, static_cast<char>('a' + static_cast<int>(*number) % 26)));
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
