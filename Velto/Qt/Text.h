// The program's texts, UTF-8 throughout, as the user interface's and back.
#pragma once

#include <QString>

#include <optional>
#include <string>
#include <string_view>

namespace velto {

inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
/// Empty when absent.
template <class Text>
QString toQString(const std::optional<Text>& text) {
    return text ? toQString(std::string_view(*text)) : QString();
}

} // namespace velto
