// PipeWireStoredName: the form in which the session manager keeps the name of a device, `{"name": …}`.
//
// Names need not be valid UTF-8, and what stands in a store may have been written by anybody, by hand too.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velto::PipeWireStoredName {

/// None when the text is no JSON object with such a member.
std::optional<std::string> read(const std::string& text);
/// Reads back as the same name; one ends where it has a zero.
std::string text(std::string_view name);

} // namespace velto::PipeWireStoredName
