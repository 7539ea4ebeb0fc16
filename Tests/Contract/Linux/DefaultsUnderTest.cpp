#include "Tests/Contract/DefaultsUnderTest.h"

#include "Platform/Linux/FileUserDefaults.h"
#include "Simulation/SimulatedMainActor.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <optional>

namespace velto {

namespace {

class FileUserDefaultsUnderTest final : public DefaultsUnderTest {
  public:
    FileUserDefaultsUnderTest() { reopen(); }

    UserDefaults& defaults() override { return *defaults_; }
    void reopen() override {
        defaults_.reset(); // writes
        defaults_.emplace(file_, loop_);
    }
    std::optional<DefaultsValue> storedForOthers(std::string_view key) override {
        return FileUserDefaults(file_, loop_).storedValue(key);
    }
    void storeListAndReopen(const std::string& key) override {
        defaults_.reset();
        std::ofstream(file_) << nlohmann::json{{key, {1, "two"}}};
        reopen();
    }

  private:
    const OwnedFolder folder_{"velto-contract"};
    const std::filesystem::path file_ = folder_.path() / "defaults.json";
    SimulatedMainActor loop_;
    std::optional<FileUserDefaults> defaults_;
};

} // namespace

std::unique_ptr<DefaultsUnderTest> makeDefaultsUnderTest() {
    return std::make_unique<FileUserDefaultsUnderTest>();
}

} // namespace velto
