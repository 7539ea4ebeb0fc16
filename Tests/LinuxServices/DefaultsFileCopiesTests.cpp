#include "Platform/Linux/FileUserDefaults.h"
#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedMainActor.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <signal.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

namespace velto {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

std::string contents(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

class DefaultsFileCopiesTests : public testing::Test {
  protected:
    DefaultsFileCopiesTests() {
        std::string pattern = "/tmp/velto-copies-XXXXXX";
        folder = mkdtemp(pattern.data());
        file = folder / "defaults.json";
    }
    ~DefaultsFileCopiesTests() override { fs::remove_all(folder); }

    /// A run of the program that stores the value. The file as it stood before.
    std::string runStoring(const std::string& value) {
        const std::string before = contents(file);
        FileUserDefaults(file, loop).set("value", value);
        return before;
    }
    void runChangingNothing() { EXPECT_NO_THROW(FileUserDefaults(file, loop)); }
    /// By what follows "defaults.json.copy-".
    std::map<std::string, std::string> copies() const {
        std::map<std::string, std::string> result;
        const std::string prefix = "defaults.json.copy-";
        for (const auto& entry : fs::directory_iterator(folder)) {
            const std::string name = entry.path().filename();
            if (name.starts_with(prefix)) result[name.substr(prefix.size())] = contents(entry.path());
        }
        return result;
    }

    SimulatedMainActor loop;
    const RecordingLogSink log;
    fs::path folder;
    fs::path file;
};

TEST_F(DefaultsFileCopiesTests, TheFileAtTheLastThreeStartsIsKept) {
    runStoring("first");
    EXPECT_THAT(copies(), IsEmpty()) << "there was no file";
    const fs::path others = folder / "defaults.json.copy-of mine";
    std::ofstream(others) << "not to be touched";
    const fs::path outsideName = folder / "defaults.json.copy-99x";
    std::ofstream(outsideName) << "nor this";

    std::vector<std::string> atStart;
    for (int run = 0; run < 12; ++run) // past 9, where names no longer sort as numbers
        atStart.push_back(runStoring("run " + std::to_string(run)));
    ASSERT_EQ(chmod(file.c_str(), 0644), 0);
    const auto mask = umask(0);
    atStart.push_back(runStoring("last"));
    umask(mask);
    EXPECT_THAT(copies(),
                ElementsAre(Pair("11", atStart[10]), Pair("12", atStart[11]), Pair("13", atStart[12]),
                            Pair("99x", "nor this"), Pair("of mine", "not to be touched")));
    struct stat status {};
    ASSERT_EQ(stat((folder / "defaults.json.copy-13").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DefaultsFileCopiesTests, StartsThatChangeNothingPushNothingOut) {
    runStoring("a");
    const std::string a = runStoring("b");
    const std::string b = runStoring("c");
    const std::string c = runStoring("d");
    EXPECT_THAT(copies(), ElementsAre(Pair("1", a), Pair("2", b), Pair("3", c)));
    for (int i = 0; i < 5; ++i)
        runChangingNothing();
    const std::string d = contents(file);
    EXPECT_THAT(copies(), ElementsAre(Pair("2", b), Pair("3", c), Pair("4", d)));

    // The user brings an older one back.
    fs::copy_file(folder / "defaults.json.copy-2", file, fs::copy_options::overwrite_existing);
    EXPECT_EQ(FileUserDefaults(file, loop).stringValue("value"), "b");
    EXPECT_THAT(copies(), ElementsAre(Pair("3", c), Pair("4", d), Pair("5", b)));
}

TEST_F(DefaultsFileCopiesTests, AFileThatIsCalledAsACopyIsNotWrittenOver) {
    const auto make = [&](const std::string& number) {
        std::ofstream(folder / ("defaults.json.copy-" + number)) << number;
    };
    const std::string highest = "18446744073709551615";
    runStoring("a");
    make("0");
    make(highest);
    const std::string a = runStoring("b");
    EXPECT_THAT(copies(), ElementsAre(Pair("0", "0"), Pair("1", highest), Pair("2", a))) << "in their order";
    const std::string b = runStoring("c");
    EXPECT_THAT(copies(), ElementsAre(Pair("1", highest), Pair("2", a), Pair("3", b)));

    const std::string lastButOne = "18446744073709551614";
    make(lastButOne);
    const std::string c = runStoring("d");
    EXPECT_THAT(copies(), ElementsAre(Pair(lastButOne, lastButOne), Pair(highest, c), Pair("3", b)));
    const std::string d = runStoring("e");
    EXPECT_THAT(copies(), ElementsAre(Pair("2", lastButOne), Pair("3", c), Pair("4", d)));

    fs::create_directory(folder / "defaults.json.copy-5");
    fs::create_symlink("elsewhere", folder / "defaults.json.copy-6");
    make("07");
    const std::string e = runStoring("f");
    EXPECT_EQ(contents(folder / "defaults.json.copy-7"), e);
    EXPECT_TRUE(fs::is_symlink(folder / "defaults.json.copy-6"));
    EXPECT_EQ(contents(folder / "defaults.json.copy-07"), "07");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(DefaultsFileCopiesTests, AFileThatCannotBeReadPushesNothingOut) {
    runStoring("a");
    runStoring("b");
    const auto before = copies();
    ASSERT_THAT(before, SizeIs(1));
    for (int i = 0; i < 4; ++i) {
        std::ofstream(file) << "broken";
        runChangingNothing();
    }
    EXPECT_EQ(copies(), before) << "what can't be read is kept under a name of its own";
}

TEST_F(DefaultsFileCopiesTests, AFailureLeavesTheCopiesThereAre) {
    for (const std::size_t size : {std::size_t{100}, std::size_t{100'000}}) {
        fs::remove_all(folder);
        fs::create_directory(folder);
        for (int run = 0; run < 4; ++run)
            runStoring(std::string(size, static_cast<char>('a' + run)));
        const auto before = copies();
        ASSERT_THAT(before, SizeIs(3));

        struct rlimit unlimited {};
        getrlimit(RLIMIT_FSIZE, &unlimited);
        const auto handler = ::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit small { size / 2, unlimited.rlim_max }; // as on a full disk
        setrlimit(RLIMIT_FSIZE, &small);
        runChangingNothing();
        setrlimit(RLIMIT_FSIZE, &unlimited);
        ::signal(SIGXFSZ, handler);
        EXPECT_EQ(copies(), before);
    }
    EXPECT_EQ(log.count("Persistence error: The copies of the settings"), 2u);
    EXPECT_THAT(log.lines(), SizeIs(2));
}

} // namespace
} // namespace velto
