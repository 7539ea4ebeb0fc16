// ProofReport: what the proof has found, chapter by chapter, for people and for programs.
//
// Told line by line as it comes, and written as report.md and report.json; again after each chapter, so that
// a proof that is stopped leaves what it has. What these files say of other chapters stays, so that a proof
// that takes days can be made chapter by chapter.
#pragma once

#include <cstddef>
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
    /// The command, when, of which commit, beside what load.
    std::string made;
    std::vector<ProofFigure> figures{};
    /// What went wrong, with all that is needed to see it again; several lines each.
    std::vector<std::string> violations{};
    /// Files beside the report.
    std::vector<std::string> pictures{};
    double seconds = 0;

    bool holds() const;
};

class ProofReport {
  public:
    /// Makes the folder, or reads what report it has. Throws std::runtime_error where it can't. The order is
    /// that of the chapters' names.
    ProofReport(std::filesystem::path folder, std::vector<std::string> order,
                std::map<std::string, std::string> machine);

    void begin(const std::string& chapter, std::string title, std::string made);
    void add(ProofFigure figure);
    void addViolation(std::string text);
    void addPicture(const std::string& title, const std::string& svg);
    /// The chapter could not be carried on.
    void fail(const std::string& why) { addViolation("The chapter has ended early: " + why); }
    /// Whether the chapter holds.
    bool end(double seconds);

    const std::filesystem::path& folder() const noexcept { return folder_; }

  private:
    void read();
    void write() const;
    std::string markdown() const;
    std::string jsonText() const;

    std::filesystem::path folder_;
    std::vector<std::string> order_;
    std::map<std::string, std::string> machine_;
    ProofChapterReport chapter_;
    /// Those that have ended, by their place in the order.
    std::map<std::ptrdiff_t, ProofChapterReport> chapters_;
};

} // namespace velto
