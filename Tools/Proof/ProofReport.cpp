#include "Tools/Proof/ProofReport.h"

#include "VeltoCore/Foundation/JSONWriting.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <ranges>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

namespace fs = std::filesystem;

constexpr const char* markdownFile = "report.md";
constexpr const char* jsonFile = "report.json";

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
        writer.field("made", chapter.made);
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

static ProofFigure figureOf(const nlohmann::json& value) {
    ProofFigure figure{value.at("what"), value.at("measured"), value.value("goal", "")};
    const auto holds = value.find("holds");
    if (holds != value.end() && holds->is_boolean()) figure.holds = holds->get<bool>();
    return figure;
}

static ProofChapterReport chapterOf(const nlohmann::json& value) {
    ProofChapterReport chapter{value.at("name"), value.at("title"), value.at("made")};
    for (const nlohmann::json& figure : value.at("figures"))
        chapter.figures.push_back(figureOf(figure));
    chapter.violations = value.at("violations").get<std::vector<std::string>>();
    chapter.pictures = value.at("pictures").get<std::vector<std::string>>();
    chapter.seconds = value.at("seconds");
    return chapter;
}

ProofReport::ProofReport(fs::path folder, std::vector<std::string> order,
                         std::map<std::string, std::string> machine)
    : folder_(std::move(folder)), order_(std::move(order)), machine_(std::move(machine)) {
    fs::create_directories(folder_);
    if (fs::exists(folder_ / jsonFile)) read();
    write();
}

void ProofReport::read() {
    try {
        std::ifstream stream(folder_ / jsonFile);
        for (const nlohmann::json& value : nlohmann::json::parse(stream).at("chapters")) {
            ProofChapterReport chapter = chapterOf(value);
            const auto place = std::ranges::find(order_, chapter.name) - order_.begin();
            if (place < std::ssize(order_)) chapters_[place] = std::move(chapter);
        }
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error((folder_ / jsonFile).string() +
                                 " is no report that can be carried on; move it away");
    }
}

void ProofReport::begin(const std::string& chapter, std::string title, std::string made) {
    std::printf("\n%s (%s)\n", title.c_str(), chapter.c_str());
    chapter_ = {chapter, std::move(title), std::move(made)};
}

void ProofReport::add(ProofFigure figure) {
    std::printf("  %-52s %-44s %s%s\n", figure.what.c_str(), figure.measured.c_str(), figure.goal.c_str(),
                figure.holds ? *figure.holds ? ": holds" : ": MISSED" : "");
    chapter_.figures.push_back(std::move(figure));
}

void ProofReport::addViolation(std::string text) {
    std::printf("  VIOLATION: %s\n", text.c_str());
    chapter_.violations.push_back(std::move(text));
}

void ProofReport::addPicture(const std::string& title, const std::string& svg) {
    const std::string name = chapter_.name + "-" + title + ".svg";
    writeFile(folder_ / name, svg);
    chapter_.pictures.push_back(name);
}

bool ProofReport::end(double seconds) {
    chapter_.seconds = seconds;
    const bool holds = chapter_.holds();
    chapters_[std::ranges::find(order_, chapter_.name) - order_.begin()] = std::move(chapter_);
    write();
    return holds;
}

void ProofReport::write() const {
    writeFile(folder_ / markdownFile, markdown());
    writeFile(folder_ / jsonFile, jsonText());
}

std::string ProofReport::markdown() const {
    std::string text = "# Report of `./run proof`\n\n| machine | |\n| --- | --- |\n";
    for (const auto& [what, value] : machine_)
        text += "| " + cell(what) + " | " + cell(value) + " |\n";
    for (const ProofChapterReport& chapter : std::views::values(chapters_)) {
        text += "\n## " + chapter.title + "\n\n" + chapter.made + "; in " + minutes(chapter.seconds) +
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
    const auto chapters = std::views::values(chapters_);
    json::Writer writer;
    writer.object([&] {
        writer.field("machine", machine_);
        writer.field("chapters", std::vector(chapters.begin(), chapters.end()));
    });
    const auto data = writer.finish();
    return data ? std::string(data->begin(), data->end()) + "\n" : "";
}

} // namespace velto
