#include "Tests/Fuzz/FuzzTarget.h"

#include "Platform/Linux/DefaultsDocument.h"

#include <string>

namespace velto {

void fuzz(std::string_view text) {
    auto document = DefaultsDocument::parse(text);
    if (!document) return;
    const std::string written = document->text();
    auto again = DefaultsDocument::parse(written);
    require(again && again->text() == written);

    // Every value stays what it is, and any bytes can be one.
    const auto read = document->value("presets");
    const DefaultsValue bytes = Data(text.begin(), text.end());
    again->set(text, bytes);
    again = DefaultsDocument::parse(again->text());
    require(again && (text == "presets" || again->value("presets") == read));
}

} // namespace velto
