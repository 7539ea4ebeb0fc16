// ProofReport: what the proof has found, chapter by chapter, for people and for programs.
//
// Told line by line as it comes, and written as report.md and report.json; again after each chapter, so that
// a proof that is stopped leaves what it has.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

struct ProofFigure {
    std::string what;
    std::string measured;
    /// Empty where there is none.
    std::string goal{};
    /// Absent without a goal.
    std::optional<bool> holds = std::nullopt;
};

struct ProofChapterReport {
    std::string name;
    std::string title;
    std::vector<ProofFigure> figures;
    /// What went wrong, with all that is needed to see it again; several lines each.
    std::vector<std::string> violations;
    /// Files beside the report.
    std::vector<std::string> pictures;
    double seconds = 0;

    bool holds() const;
};

/// How it was made.
struct ProofSetting {
    bool isFull = false;
    std::uint64_t seed = 0;
    std::map<std::string, std::string> machine;
};

class ProofReport {
  public:
    /// Makes the folder. Throws std::runtime_error where it can't.
    ProofReport(std::filesystem::path folder, ProofSetting setting);

    void begin(std::string chapter, std::string title);
    void add(ProofFigure figure);
    void addViolation(std::string text);
    void addPicture(const std::string& title, const std::string& svg);
    /// The chapter could not be carried on.
    void fail(const std::string& why) { addViolation("The chapter has ended early: " + why); }
    void end(double seconds);

    bool holds() const;
    const std::filesystem::path& folder() const noexcept { return folder_; }

  private:
    void write() const;
    std::string markdown() const;
    std::string jsonText() const;

    std::filesystem::path folder_;
    ProofSetting setting_;
    std::vector<ProofChapterReport> chapters_;
};

} // namespace velto
