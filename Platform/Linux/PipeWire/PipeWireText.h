// PipeWireText: between the server's texts, which are any bytes, and the program's, which are UTF-8.
//
// A device's name is its UID, and what is stored of it is UTF-8, so the two must be one-to-one. A byte that
// is no UTF-8 stands in the program as a character of a private area, U+F780 to U+F7FF; so do, byte by byte,
// the characters of that very area. Everything else is the same on both sides. All that is read of the
// server's properties and names passes here, and every name that is given back to it.
#pragma once

#include <string>
#include <string_view>

namespace velto::PipeWireText {

/// Always UTF-8; differs for different texts.
std::string fromServer(std::string_view text);
/// What fromServer() has made of which that is.
std::string toServer(std::string_view text);

} // namespace velto::PipeWireText
