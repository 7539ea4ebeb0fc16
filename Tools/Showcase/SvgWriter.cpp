#include "Tools/Showcase/SvgWriter.h"

#include "Tools/Judge/PlainText.h"

#include <fmt/format.h>

namespace velto {

static std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : judge::cleaned(text)) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

SvgWriter::SvgWriter(double width, double height, std::string_view title, std::string_view styleSheet)
    : text_(fmt::format(
          "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:.0f}\" height=\"{1:.0f}\" "
          "viewBox=\"0 0 {0:.0f} {1:.0f}\" role=\"img\">\n<title>{2}</title>\n<style>{3}</style>\n",
          width, height, escaped(title), styleSheet)) {}

void SvgWriter::rectangle(std::string_view style, const Box& box, double cornerRadius) {
    text_ += fmt::format(
        "<rect class=\"{}\" x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" rx=\"{:.1f}\"/>\n",
        style, box.x, box.y, box.width, box.height, cornerRadius);
}

void SvgWriter::line(std::string_view style, Point from, Point to) {
    text_ += fmt::format("<line class=\"{}\" x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\"/>\n",
                         style, from.x, from.y, to.x, to.y);
}

void SvgWriter::circle(std::string_view style, Point center, double radius) {
    text_ += fmt::format("<circle class=\"{}\" cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"{:.1f}\"/>\n", style, center.x,
                         center.y, radius);
}

void SvgWriter::path(std::string_view style, std::string_view data) {
    text_ += fmt::format("<path class=\"{}\" d=\"{}\"/>\n", style, data);
}

void SvgWriter::text(std::string_view style, Point baseline, std::string_view text) {
    text_ += fmt::format("<text class=\"{}\" x=\"{:.1f}\" y=\"{:.1f}\">{}</text>\n", style, baseline.x,
                         baseline.y, escaped(text));
}

void SvgWriter::slantedText(std::string_view style, Point baseline, double degrees, std::string_view text) {
    text_ +=
        fmt::format("<text class=\"{}\" transform=\"translate({:.1f} {:.1f}) rotate({:.0f})\">{}</text>\n",
                    style, baseline.x, baseline.y, degrees, escaped(text));
}

std::string SvgWriter::finish() && { return std::move(text_) + "</svg>\n"; }

} // namespace velto
