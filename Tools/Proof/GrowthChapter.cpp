// What more devices and more presets cost: the core's benchmarks at growing sizes, and their curves.
#include "Tools/Proof/BenchmarkProgram.h"
#include "Tools/Proof/Proof.h"
#include "Tools/Showcase/SvgWriter.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace velto {

namespace {

constexpr double width = 640, height = 320, margin = 56;
constexpr const char* style =
    "text { font: 12px sans-serif; fill: #444 } .axis { stroke: #999 }"
    ".linear { stroke: #bbb; stroke-dasharray: 4 4 }"
    ".curve { stroke: #1668c7; stroke-width: 2; fill: none } .point { fill: #1668c7 }";

std::string milliseconds(double nanoseconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3g ms", nanoseconds / 1e6);
    return text;
}

/// Both axes are logarithmic: what is linear rises by one for one, as the dashed line.
std::string picture(const std::string& name, const GrowthCurve& curve) {
    const auto [firstSize, firstTime] = *curve.begin();
    const auto [lastSize, lastTime] = *curve.rbegin();
    const double decades = std::log10(std::max(lastSize / firstSize, lastTime / firstTime));
    const auto place = [&](double size, double time) {
        return Point{margin + std::log10(size / firstSize) / decades * (width - 2 * margin),
                     height - margin - std::log10(time / firstTime) / decades * (height - 2 * margin)};
    };
    SvgWriter svg(width, height, name, style);
    svg.line("axis", {margin, height - margin}, {width - margin, height - margin});
    svg.line("axis", {margin, height - margin}, {margin, margin});
    svg.line("linear", place(firstSize, firstTime), place(lastSize, firstTime * lastSize / firstSize));
    std::string path;
    for (const auto& [size, time] : curve) {
        const Point at = place(size, time);
        path += (path.empty() ? "M" : "L") + std::to_string(at.x) + " " + std::to_string(at.y);
        svg.circle("point", at, 3);
        svg.text("label", {at.x + 6, at.y + 16},
                 std::to_string(static_cast<long>(size)) + ": " + milliseconds(time));
    }
    svg.path("curve", path);
    svg.text("label", {margin, margin - 16}, name + "; dashed: linear");
    return std::move(svg).finish();
}

} // namespace

void measureGrowth(Proof& proof) {
    for (const auto& [name, curve] : growthCurves()) {
        const auto last = curve.rbegin();
        const auto before = std::next(last);
        // Of the last step: at smaller sizes there is more than what grows.
        const double growth = last->second / before->second, linear = last->first / before->first;
        char text[96];
        std::snprintf(text, sizeof text, "%s for %.0f; x %.2f for x %.0f", milliseconds(last->second).c_str(),
                      last->first, growth, linear);
        proof.report.add({name, text, "<= 2 x linear", growth <= 2 * linear});
        proof.report.addPicture(name, picture(name, curve));
    }
}

} // namespace velto
