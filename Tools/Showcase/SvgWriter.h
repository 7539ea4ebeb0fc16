// SvgWriter: writes the elements of a picture; how each looks is up to its class in the style sheet.
#pragma once

#include <string>
#include <string_view>

namespace velto {

struct Point {
    double x = 0;
    double y = 0;
};

struct Box {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

class SvgWriter {
  public:
    SvgWriter(double width, double height, std::string_view title, std::string_view styleSheet);

    void rectangle(std::string_view style, const Box& box, double cornerRadius);
    void line(std::string_view style, Point from, Point to);
    void circle(std::string_view style, Point center, double radius);
    void path(std::string_view style, std::string_view data);
    /// Any text: it is escaped, and cleaned of what a picture can't hold.
    void text(std::string_view style, Point baseline, std::string_view text);
    /// The same, turned clockwise around the point by that many degrees.
    void slantedText(std::string_view style, Point baseline, double degrees, std::string_view text);

    std::string finish() &&;

  private:
    std::string text_;
};

} // namespace velto
