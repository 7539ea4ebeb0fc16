// FileUserDefaults: the user's defaults as one JSON file in a folder of its own.
//
// Changes are written within a second, together, and when the object goes; synchronize() writes at once. Each
// write replaces the file whole, so a crash leaves the old one or the new one. A write that fails is tried
// again with the next change or synchronize(); the values hold meanwhile. A change that would make the file
// too large is refused, so that one that was written can be read. A file that can't be read is set aside
// under another name, never overwritten; one that can is copied beside itself before anything changes it, and
// so is what others made of it while the program ran.
#pragma once

#include "Platform/Linux/DefaultsDocument.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Services/UserDefaults.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>

namespace velto {

class FileUserDefaults final : public UserDefaults {
  public:
    /// Reads the file if there is one, and keeps a copy of it. The folder is made on the first write, and
    /// always for the user alone (mode 0700; the file 0600). No two programs may use one file at a time.
    FileUserDefaults(std::filesystem::path file, MainActor& actor);
    FileUserDefaults(const FileUserDefaults&) = delete;
    FileUserDefaults& operator=(const FileUserDefaults&) = delete;
    ~FileUserDefaults() override;

    /// `$XDG_CONFIG_HOME/velto/defaults.json`, by default below `~/.config`.
    static std::filesystem::path standardFile();
    /// Whose lock a program holds that uses the file.
    static std::filesystem::path lockFile(const std::filesystem::path& file) {
        return file.native() + ".lock";
    }

    std::optional<DefaultsValue> storedValue(std::string_view key) const override;
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    void synchronize() override;

  private:
    void load();
    void setAside(const std::string& reason);
    void changed();
    void cancelWrite() noexcept;
    // Absent for success, else the reason:
    std::optional<std::string> write();
    std::optional<std::string> keepWhatOthersWrote();
    void tell(std::optional<std::string> failure);

    std::filesystem::path file_;
    MainActor& actor_;
    DefaultsDocument document_;
    std::optional<MainActor::TimerID> pendingWrite_;
    bool isChanged_ = false;
    /// Of the file as it was last read or written; none without a file.
    std::optional<std::size_t> knownContent_;
    /// Why the file can be neither read nor set aside: then nothing is written in this run.
    std::optional<std::string> obstacle_;
    /// Their values as they are asked for would make the file too large.
    std::set<std::string, std::less<>> refusedKeys_;
};

} // namespace velto
