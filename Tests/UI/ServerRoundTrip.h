// A message to the program itself by way of the X server: what was asked of the server before is done, and
// has reached the program, when it comes back.
#pragma once

namespace velto {

/// Handles all events up to the message, in the order in which the server sent them.
void awaitServer();

} // namespace velto
