#include "Platform/Linux/XdgAutostart.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velto {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using Status = LoginItemService::Status;

std::string contents(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

class XdgAutostartTests : public testing::Test {
  protected:
    XdgAutostartTests() {
        std::string pattern = "/tmp/velto-autostart-XXXXXX";
        folder = mkdtemp(pattern.data());
        file = folder / "config" / "autostart" / "velto.desktop";
    }
    ~XdgAutostartTests() override { fs::remove_all(folder); }

    /// An executable file below the test's folder.
    fs::path program(const std::string& name) const {
        const fs::path path = folder / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "#!/bin/sh\n";
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }

    fs::path folder;
    fs::path file;
};

TEST_F(XdgAutostartTests, ExecIsQuotedByTheRulesOfDesktopEntries) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"/usr/bin/velto", R"("/usr/bin/velto")"},
        {"/my programs/velto;rm -rf ~", R"("/my programs/velto;rm -rf ~")"},
        {"/100%f/velto", R"("/100%%f/velto")"},
        {R"(/a"b`c$d/velto)", R"("/a\\"b\\`c\\$d/velto")"},
        {R"(/back\slash)", R"("/back\\\\slash")"},
        {"/Grüße/velto", "\"/Grüße/velto\""}};
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(XdgAutostart::execValue(path), expected);
    for (const char* path : {"velto", "", "./velto", "/a\nExec=evil", "/a\rb", "/a\tb", "/a\x7F", "/a=b"})
        EXPECT_EQ(XdgAutostart::execValue(path), std::nullopt) << path;
}

TEST_F(XdgAutostartTests, TheEntryComesAndGoes) {
    XdgAutostart autostart(program("usr/bin/velto"), file);
    EXPECT_TRUE(autostart.isAvailable());
    EXPECT_EQ(autostart.status(), Status::notRegistered);
    autostart.unregisterItem(); // nothing to do
    autostart.registerItem();
    EXPECT_EQ(autostart.status(), Status::enabled);
    EXPECT_THAT(contents(file), HasSubstr("[Desktop Entry]\nType=Application\n"));
    EXPECT_THAT(contents(file),
                HasSubstr("\nExec=\"" + (folder / "usr/bin/velto").string() + "\" --hidden\n"));
    EXPECT_THAT(contents(file), HasSubstr("\nTryExec=" + (folder / "usr/bin/velto").string() + "\n"));
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(file.parent_path()))
        files.push_back(entry.path().filename());
    EXPECT_THAT(files, ElementsAre("velto.desktop"));

    EXPECT_EQ(XdgAutostart(program("opt/bin/velto"), file).status(), Status::notRegistered)
        << "it starts another program";
    autostart.unregisterItem();
    EXPECT_EQ(autostart.status(), Status::notRegistered);
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(XdgAutostartTests, AnEntrySwitchedOffByTheDesktopIsOff) {
    XdgAutostart autostart(program("usr/bin/velto"), file);
    autostart.registerItem();
    const std::string entry = contents(file);
    const auto statusWith = [&](const std::string& text) {
        std::ofstream(file) << text;
        return autostart.status();
    };
    EXPECT_EQ(statusWith("# made by hand\r\n" + entry + "[Desktop Action X]\nHidden=true\n"),
              Status::enabled);
    EXPECT_EQ(statusWith(entry + " Hidden = true \n"), Status::notRegistered);
    std::string disabled = entry;
    disabled.replace(disabled.find("enabled=true"), 12, "enabled=false");
    EXPECT_EQ(statusWith(disabled), Status::notRegistered);
    EXPECT_EQ(statusWith("no entry at all"), Status::notRegistered);
    autostart.registerItem();
    EXPECT_EQ(contents(file), entry);
}

TEST_F(XdgAutostartTests, OnlyAnInstalledProgramCanBeRegistered) {
    const fs::path notExecutable = program("other/bin/velto");
    fs::permissions(notExecutable, fs::perms::owner_read);
    for (const fs::path& path : {program("build/velto"), folder / "usr/bin/gone", fs::path("bin/velto"),
                                 program("equals=/bin/velto"), notExecutable}) {
        XdgAutostart autostart(path, file);
        EXPECT_THROW(autostart.registerItem(), std::runtime_error) << path;
        EXPECT_EQ(autostart.status(), Status::notRegistered);
    }
    EXPECT_FALSE(XdgAutostart(program("build/velto"), file).isAvailable());
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(XdgAutostart::runningProgram(), fs::canonical("/proc/self/exe"));
    EXPECT_THAT(XdgAutostart::standardFile().string(), EndsWith("/autostart/com.corlent.velto.desktop"));
}

TEST_F(XdgAutostartTests, FailuresAreTold) {
    XdgAutostart autostart(program("usr/bin/velto"), file);
    fs::create_directories(folder / "config");
    std::ofstream(file.parent_path()) << "a file where the folder should be";
    EXPECT_THROW(autostart.registerItem(), std::runtime_error);
    fs::remove(file.parent_path());
    fs::create_directories(file / "a folder where the file should be");
    EXPECT_THROW(autostart.registerItem(), std::runtime_error);
    EXPECT_THROW(autostart.unregisterItem(), std::runtime_error);
    EXPECT_EQ(autostart.status(), Status::notRegistered);
}

} // namespace
} // namespace velto
