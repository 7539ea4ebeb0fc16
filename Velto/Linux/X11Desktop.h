// What an X11 desktop has, as its programs make themselves known.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

struct xcb_connection_t;

namespace velto {

/// Whether windows are blended with what lies behind them. True wherever there is no X11.
bool windowsAreBlended();

/// The program's own connection to the server; null wherever there is no X11.
xcb_connection_t* x11Connection();
/// 0 when the server doesn't answer.
std::uint32_t x11Atom(xcb_connection_t* connection, const char* name);
/// The window that owns the selection; 0 for none. So compositors and trays make themselves known.
std::uint32_t x11SelectionOwner(xcb_connection_t* connection, std::uint32_t selection);

struct FreeX11Reply {
    void operator()(void* reply) const noexcept { std::free(reply); }
};
template <class Reply>
using X11Reply = std::unique_ptr<Reply, FreeX11Reply>;

} // namespace velto
