#include "Tests/Fuzz/FuzzTarget.h"

#include "Platform/Linux/DefaultsDocument.h"

#include <string>

namespace velto {

void fuzz(std::string_view text) {
    // Any bytes come back as they were, whether they stand as JSON or not.
    const DefaultsValue bytes = Data(text.begin(), text.end());
    DefaultsDocument record;
    record.set("record", bytes);
    const auto reread = DefaultsDocument::parse(record.text());
    require(reread && reread->value("record") == bytes);

    auto document = DefaultsDocument::parse(text);
    if (!document) return;
    const std::string written = document->text();
    auto again = DefaultsDocument::parse(written);
    require(again && again->text() == written);

    // Every value stays what it is, and anything can be a key.
    const auto read = document->value("presets");
    again->set(text, bytes);
    again = DefaultsDocument::parse(again->text());
    require(again && (text == "presets" || again->value("presets") == read));
}

} // namespace velto
