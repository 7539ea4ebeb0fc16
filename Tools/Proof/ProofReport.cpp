#include "Tools/Proof/ProofReport.h"

#include "VeltoCore/Foundation/JSONWriting.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

namespace fs = std::filesystem;

void writeFile(const fs::path& file, const std::string& text) {
    std::ofstream stream(file);
    stream << text;
    if (!stream.flush()) throw std::runtime_error(file.string() + " can't be written");
}

/// As a cell of a table has it.
std::string cell(std::string text) {
    for (std::size_t at = 0; (at = text.find('|', at)) != std::string::npos; at += 2)
        text.insert(at, "\\");
    std::ranges::replace(text, '\n', ' ');
    return text;
}

std::string verdict(const ProofFigure& figure) {
    return figure.holds ? *figure.holds ? "holds" : "**MISSED**" : "";
}

std::string minutes(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, seconds < 90 ? "%.0f s" : "%.1f min",
                  seconds < 90 ? seconds : seconds / 60);
    return text;
}

} // namespace

static void writeJSON(json::Writer& writer, const ProofFigure& figure) {
    writer.object([&] {
        writer.field("what", figure.what);
        writer.field("measured", figure.measured);
        if (!figure.goal.empty()) writer.field("goal", figure.goal);
        writer.field("holds", figure.holds);
    });
}

static void writeJSON(json::Writer& writer, const ProofChapterReport& chapter) {
    writer.object([&] {
        writer.field("name", chapter.name);
        writer.field("title", chapter.title);
        writer.field("seconds", chapter.seconds);
        writer.field("holds", chapter.holds());
        writer.field("figures", chapter.figures);
        writer.field("violations", chapter.violations);
        writer.field("pictures", chapter.pictures);
    });
}

bool ProofChapterReport::holds() const {
    return violations.empty() && std::ranges::all_of(figures, [](const ProofFigure& figure) {
               return figure.holds.value_or(true);
           });
}

ProofReport::ProofReport(fs::path folder, ProofSetting setting)
    : folder_(std::move(folder)), setting_(std::move(setting)) {
    fs::create_directories(folder_);
    write();
}

void ProofReport::begin(std::string chapter, std::string title) {
    std::printf("\n%s (%s)\n", title.c_str(), chapter.c_str());
    chapters_.push_back({std::move(chapter), std::move(title), {}, {}, {}, 0});
}

void ProofReport::add(ProofFigure figure) {
    std::printf("  %-52s %-44s %s%s\n", figure.what.c_str(), figure.measured.c_str(), figure.goal.c_str(),
                figure.holds ? *figure.holds ? ": holds" : ": MISSED" : "");
    chapters_.back().figures.push_back(std::move(figure));
}

void ProofReport::addViolation(std::string text) {
    std::printf("  VIOLATION: %s\n", text.c_str());
    chapters_.back().violations.push_back(std::move(text));
}

void ProofReport::addPicture(const std::string& title, const std::string& svg) {
    const std::string name = chapters_.back().name + "-" + title + ".svg";
    writeFile(folder_ / name, svg);
    chapters_.back().pictures.push_back(name);
}

void ProofReport::end(double seconds) {
    chapters_.back().seconds = seconds;
    write();
}

bool ProofReport::holds() const { return std::ranges::all_of(chapters_, &ProofChapterReport::holds); }

void ProofReport::write() const {
    writeFile(folder_ / "report.md", markdown());
    writeFile(folder_ / "report.json", jsonText());
}

std::string ProofReport::markdown() const {
    std::string text = std::string("# Report of `./run proof") + (setting_.isFull ? " --full" : "") +
                       " --seed " + std::to_string(setting_.seed) + "`\n\n| machine | |\n| --- | --- |\n";
    for (const auto& [what, value] : setting_.machine)
        text += "| " + cell(what) + " | " + cell(value) + " |\n";
    for (const ProofChapterReport& chapter : chapters_) {
        text += "\n## " + chapter.title + "\n\n`--only " + chapter.name + "`, " + minutes(chapter.seconds) +
                (chapter.holds() ? ": holds.\n" : ": **does not hold**.\n");
        if (!chapter.figures.empty()) text += "\n| figure | measured | goal | |\n| --- | --- | --- | --- |\n";
        for (const ProofFigure& figure : chapter.figures)
            text += "| " + cell(figure.what) + " | " + cell(figure.measured) + " | " + cell(figure.goal) +
                    " | " + verdict(figure) + " |\n";
        for (const std::string& violation : chapter.violations)
            text += "\n```\n" + violation + "\n```\n";
        for (const std::string& picture : chapter.pictures)
            text += "\n![" + picture + "](" + picture + ")\n";
    }
    return text;
}

std::string ProofReport::jsonText() const {
    json::Writer writer;
    writer.object([&] {
        writer.field("isFull", setting_.isFull);
        writer.field("seed", std::to_string(setting_.seed)); // larger than what a number holds
        writer.field("holds", holds());
        writer.field("machine", setting_.machine);
        writer.field("chapters", chapters_);
    });
    const auto data = writer.finish();
    return data ? std::string(data->begin(), data->end()) + "\n" : "";
}

} // namespace velto
