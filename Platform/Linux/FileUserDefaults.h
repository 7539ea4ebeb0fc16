// FileUserDefaults: the user's defaults as one JSON file in a folder of its own.
//
// Changes are written within a second, together, and when the object goes; synchronize() writes at once. Each
// write replaces the file whole, so a crash leaves the old one or the new one. A write that fails is tried
// again until it succeeds; the values hold meanwhile. A file that can't be read is set aside under another
// name, never overwritten; one that can is copied beside itself before anything changes it.
#pragma once

#include "Platform/Linux/DefaultsDocument.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Services/UserDefaults.h"

#include <filesystem>
#include <optional>
#include <string>

namespace velto {

class FileUserDefaults final : public UserDefaults {
  public:
    /// Reads the file if there is one, and keeps a copy of it. The folder is made on the first write, for the
    /// user alone (mode 0700; the file 0600).
    FileUserDefaults(std::filesystem::path file, MainActor& actor);
    FileUserDefaults(const FileUserDefaults&) = delete;
    FileUserDefaults& operator=(const FileUserDefaults&) = delete;
    ~FileUserDefaults() override;

    /// `$XDG_CONFIG_HOME/velto/defaults.json`, by default below `~/.config`.
    static std::filesystem::path standardFile();

    std::optional<DefaultsValue> storedValue(std::string_view key) const override;
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    void synchronize() override;

  private:
    void load();
    void setAside(const char* reason);
    void changed();
    void cancelTimers() noexcept;
    /// Absent for success, else the reason.
    std::optional<std::string> write() const;

    std::filesystem::path file_;
    MainActor& actor_;
    DefaultsDocument document_;
    std::optional<MainActor::TimerID> pendingWrite_;
    std::optional<MainActor::TimerID> retry_; // of a write that failed
    bool isChanged_ = false;
    bool isWritable_ = true;
    bool hasFailed_ = false; // the last write; a row of failures is logged once
};

} // namespace velto
